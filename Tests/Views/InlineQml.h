#pragma once

#include <QQmlComponent>
#include <QQmlEngine>
#include <gtest/gtest.h>

#include <memory>

namespace tessarin
{

// An object from QML text, with the module at hand.
class InlineQml
{
public:
    InlineQml() { m_engine.addImportPath(QStringLiteral(":/")); }
    std::unique_ptr<QObject> create(const char* text, const QVariantMap& properties = {})
    {
        QQmlComponent component(&m_engine);
        component.setData(QByteArray("import QtQuick\nimport Tessarin\n") + text, QUrl());
        std::unique_ptr<QObject> object(component.createWithInitialProperties(properties));
        EXPECT_NE(object, nullptr) << component.errorString().toStdString();
        return object;
    }

private:
    QQmlEngine m_engine;
};

} // namespace tessarin
