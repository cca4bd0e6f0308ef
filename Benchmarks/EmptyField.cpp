// A Qt Quick window with an empty text field that has the focus, and nothing else: what TypingBenchmark compares with.

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>

#include <memory>

int main(int argc, char** argv)
{
    QQuickWindow::setTextRenderType(QQuickWindow::NativeTextRendering);
    QGuiApplication application(argc, argv);
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQuick\n"
                      "Window { width: 1180; height: 760; visible: true; TextEdit { x: 16; y: 8; width: 760; height: 28; font.pixelSize: "
                      "14; focus: true } }",
        QUrl());
    const std::unique_ptr<QObject> window(component.create());
    return window ? QGuiApplication::exec() : 1;
}
