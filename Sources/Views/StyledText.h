#pragma once

#include "Views/TextBlock.h"

#include <QColor>
#include <QFont>
#include <QObject>
#include <QPointer>
#include <QQmlParserStatus>
#include <QQuickTextDocument>
#include <QTextCharFormat>

namespace tessarin
{

// Writes runs into the document of a text view, in the theme's shades and with a fixed line height, which the view alone does not have.
// When the runs only grow, or differ in their end, only that part of the document is written and laid out again.
class StyledText : public QObject, public QQmlParserStatus
{
    Q_OBJECT
    QML_ELEMENT
    Q_INTERFACES(QQmlParserStatus)
    Q_PROPERTY(QQuickTextDocument* document MEMBER m_document REQUIRED)
    Q_PROPERTY(tessarin::StyledRuns content READ content WRITE setContent REQUIRED)
    Q_PROPERTY(int lineHeight MEMBER m_lineHeight REQUIRED)
    // How far the text stands below the middle of its lines: the view is shown that much higher.
    Q_PROPERTY(int drop READ drop NOTIFY dropChanged)
    // The links that the keyboard stops at, the first ones of a text that has very many.
    Q_PROPERTY(QList<tessarin::TextLink> links READ links NOTIFY linksChanged)
    // Code is never read from right to left, whatever its first letters are.
    Q_PROPERTY(bool leftToRight MEMBER m_isLeftToRight)
    Q_PROPERTY(QString fixedFamily MEMBER m_fixedFamily NOTIFY styleChanged)
    Q_PROPERTY(int fixedSize MEMBER m_fixedSize NOTIFY styleChanged)
    Q_PROPERTY(QColor linkColor MEMBER m_linkColor NOTIFY styleChanged)
    Q_PROPERTY(QColor codeGround MEMBER m_codeGround NOTIFY styleChanged)
    Q_PROPERTY(QColor keywordColor MEMBER m_keywordColor NOTIFY styleChanged)
    Q_PROPERTY(QColor literalColor MEMBER m_literalColor NOTIFY styleChanged)
    Q_PROPERTY(QColor numberColor MEMBER m_numberColor NOTIFY styleChanged)
    Q_PROPERTY(QColor commentColor MEMBER m_commentColor NOTIFY styleChanged)
public:
    static constexpr qsizetype linkLimit = 100;

    explicit StyledText(QObject* parent = nullptr);

    [[nodiscard]] const StyledRuns& content() const { return m_content; }
    void setContent(const StyledRuns& content);
    [[nodiscard]] int drop() const { return m_drop; }
    [[nodiscard]] const QList<TextLink>& links() const { return m_links; }

    void classBegin() override { }
    void componentComplete() override;

signals:
    void styleChanged();
    void dropChanged();
    void linksChanged();

private:
    void rewrite();
    // Writes `runs` in place of what stands behind the first `kept` characters.
    void write(qsizetype kept, const QList<TextRun>& runs);
    void measure(const QFont& font);
    void readLinks();
    [[nodiscard]] QTextCharFormat formatOf(const TextRun& run) const;
    [[nodiscard]] QColor wordColor(TextRun::Word word) const;

    QPointer<QQuickTextDocument> m_document;
    StyledRuns m_content;
    QList<TextLink> m_links;
    bool m_isComplete = false;
    int m_lineHeight = 0;
    bool m_isLeftToRight = false;
    int m_drop = 0;
    QString m_fixedFamily;
    int m_fixedSize = 0;
    QColor m_linkColor;
    QColor m_codeGround;
    QColor m_keywordColor;
    QColor m_literalColor;
    QColor m_numberColor;
    QColor m_commentColor;
};

} // namespace tessarin
