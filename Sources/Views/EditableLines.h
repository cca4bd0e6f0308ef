#pragma once

#include <QObject>
#include <QPointer>
#include <QQmlParserStatus>
#include <QQuickTextDocument>

namespace tessarin
{

// Gives a text that is typed the line height of a text that is read, which an editable view of Qt Quick does not have, and each of its
// lines the direction of its letters. Both are formats of the document that must not be steps of their own when the person undoes
// something: they join the step that made them necessary, and in a text that was just emptied or filled they are none.
class EditableLines : public QObject, public QQmlParserStatus
{
    Q_OBJECT
    QML_ELEMENT
    Q_INTERFACES(QQmlParserStatus)
    Q_PROPERTY(QQuickTextDocument* document MEMBER m_document REQUIRED)
    Q_PROPERTY(int lineHeight MEMBER m_lineHeight REQUIRED)
    // How far the text stands below the middle of its lines.
    Q_PROPERTY(int drop READ drop NOTIFY dropChanged)
public:
    using QObject::QObject;

    // To be called whenever the text has changed.
    Q_INVOKABLE void renew();

    [[nodiscard]] int drop() const { return m_drop; }
    void classBegin() override { }
    void componentComplete() override { renew(); }

signals:
    void dropChanged();

private:
    void giveHeight(QTextDocument* document);
    void makeParagraphs(QTextDocument* document);

    QPointer<QQuickTextDocument> m_document;
    int m_lineHeight = 0;
    int m_drop = 0;
};

} // namespace tessarin
