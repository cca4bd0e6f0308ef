#include "Views/RuntimeLogPages.h"

#include "App/AppModel.h"
#include "Views/RuntimeLogRules.h"
#include "Views/WindowModel.h"

#include <QDir>

#include <utility>

namespace tessarin
{

RuntimeLogPages::RuntimeLogPages(QObject* parent) : PagedText(parent), m_home(QDir::homePath())
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(frameMilliseconds);
    connect(&m_timer, &QTimer::timeout, this, &RuntimeLogPages::readLog);
}

RuntimeLogPages::~RuntimeLogPages() = default;

void RuntimeLogPages::componentComplete()
{
    m_model = m_windowModel->model();
    m_subscription = m_model->observe([this](const ModelChange& change) { note(change); });
    m_notedSize = text().size();
    readLog();
    emit versionsChanged();
}

// The log is emptied or grows, and never grows by nothing: one that has become shorter is another one.
void RuntimeLogPages::note(const ModelChange& change)
{
    if (change.kind == ModelChange::Kind::installStatus) {
        emit versionsChanged();
    } else if (change.kind == ModelChange::Kind::cliLog) {
        m_isReplaced = m_isReplaced || text().size() < m_notedSize;
        m_notedSize = text().size();
        if (!m_timer.isActive()) {
            m_timer.start();
        }
    }
}

void RuntimeLogPages::readLog()
{
    read(std::exchange(m_isReplaced, false) ? Growth::anew : Growth::atItsEnd);
    if (const bool isEmpty = text().empty(); std::exchange(m_isEmpty, isEmpty) != isEmpty) {
        emit emptyChanged();
    }
}

std::string_view RuntimeLogPages::text() const
{
    return m_model ? std::string_view(m_model->cliLog()) : std::string_view();
}

QString RuntimeLogPages::shown(std::string_view part) const
{
    return RuntimeLogRules::shown(part, m_home);
}

StyledRuns RuntimeLogPages::versions() const
{
    return StyledRuns::fromText(m_model ? RuntimeLogRules::versions(*m_model, m_home) : QString());
}

QString RuntimeLogPages::report() const
{
    return versions().plainText() + QStringLiteral("\n\n") + wholeText();
}

} // namespace tessarin
