// An empty Qt Quick window that says when its first frame has been swapped: what FirstFrameBenchmark compares with.

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>

#include <cstdio>
#include <memory>

int main(int argc, char** argv)
{
    QGuiApplication application(argc, argv);
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQuick\nWindow { width: 1180; height: 760; visible: true }", QUrl());
    const std::unique_ptr<QObject> object(component.create());
    const auto* window = qobject_cast<QQuickWindow*>(object.get());
    if (window == nullptr)
        return 1;
    QObject::connect(
        window, &QQuickWindow::frameSwapped, window,
        [] {
            std::puts("first frame");
            std::fflush(stdout);
        },
        static_cast<Qt::ConnectionType>(Qt::QueuedConnection | Qt::SingleShotConnection));
    return QGuiApplication::exec();
}
