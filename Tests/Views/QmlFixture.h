#pragma once

#include "Views/SymbolProvider.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QTest>
#include <gtest/gtest.h>

#include <memory>

namespace tessarin
{

// A component of the window in a window of its own, offscreen. Every warning of the QML engine fails the test.
class QmlFixture
{
public:
    QmlFixture()
    {
        m_view.engine()->addImportPath(QStringLiteral(":/"));
        m_view.engine()->addImageProvider(QStringLiteral("symbols"), new SymbolProvider);
        QObject::connect(m_view.engine(), &QQmlEngine::warnings, m_view.engine(), [](const QList<QQmlError>& warnings) {
            for (const QQmlError& warning : warnings) {
                ADD_FAILURE() << warning.toString().toStdString();
            }
        });
    }

    // Fills the window with the component of that name.
    QQuickItem* show(const QString& name, const QVariantMap& properties, const QSize& size)
    {
        m_view.setInitialProperties(properties);
        m_view.setResizeMode(QQuickView::SizeRootObjectToView);
        m_view.setSource(QUrl(QStringLiteral("qrc:/Tessarin/%1.qml").arg(name)));
        EXPECT_EQ(m_view.status(), QQuickView::Ready);
        m_view.resize(size);
        m_view.show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&m_view));
        return m_view.rootObject();
    }
    // What was created from the component of that name below an item, in the order of creation.
    [[nodiscard]] static QList<QQuickItem*> items(const QQuickItem* root, const QString& name)
    {
        QList<QQuickItem*> found;
        for (QQuickItem* child : root->childItems()) {
            const QString type = QString::fromLatin1(child->metaObject()->className());
            if (type == name || type.startsWith(name + "_QML")) {
                found.append(child);
            }
            found += items(child, name);
        }
        return found;
    }
    [[nodiscard]] QQuickView& view() { return m_view; }

    // Lets the loop run until it is so; false when it does not come to be so in time.
    template <class Condition>
    [[nodiscard]] static bool becomes(Condition condition)
    {
        return QTest::qWaitFor(condition, 10000);
    }

private:
    QQuickView m_view;
};

} // namespace tessarin
