#include <QDrag>
#include <QGuiApplication>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QRasterWindow>
#include <QUrl>

#include <cstdio>

// A small window from which things can be dragged, as from a file manager: DragSource X Y [--text TEXT] [PATH...]. What the other window
// made of it stands on the output, a line for each drag: "taken" or "refused".
namespace
{

class Source : public QRasterWindow
{
public:
    explicit Source(const QStringList& arguments)
    {
        setTitle(QStringLiteral("drag source"));
        setGeometry(arguments[1].toInt(), arguments[2].toInt(), 60, 60);
        for (qsizetype i = 3; i < arguments.size(); ++i) {
            if (arguments[i] == QLatin1String("--text")) {
                m_text = arguments.value(++i);
            } else {
                m_urls.append(QUrl::fromLocalFile(arguments[i]));
            }
        }
    }

protected:
    void paintEvent(QPaintEvent*) override { QPainter(this).fillRect(0, 0, width(), height(), Qt::darkCyan); }
    void mouseMoveEvent(QMouseEvent* event) override
    {
        if (event->buttons() != Qt::LeftButton) {
            return;
        }
        auto* data = new QMimeData;
        if (!m_urls.isEmpty()) {
            data->setUrls(m_urls);
        }
        if (!m_text.isEmpty()) {
            data->setText(m_text);
        }
        auto* drag = new QDrag(this);
        drag->setMimeData(data);
        std::puts(drag->exec(Qt::CopyAction) == Qt::IgnoreAction ? "refused" : "taken");
        std::fflush(stdout);
    }

private:
    QList<QUrl> m_urls;
    QString m_text;
};

} // namespace

int main(int argc, char** argv)
{
    QGuiApplication application(argc, argv);
    Source source(QGuiApplication::arguments());
    source.show();
    return QGuiApplication::exec();
}
