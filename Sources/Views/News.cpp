#include "Views/News.h"

#include "App/AppModel.h"

#include <utility>

namespace tessarin
{

NewsGatherer::NewsGatherer(QObject* parent) : QObject(parent) { }

NewsGatherer::~NewsGatherer() = default;

void NewsGatherer::attach(std::shared_ptr<AppModel> model)
{
    m_model = std::move(model);
    m_connection = m_model->connectionState().kind();
    m_imagine = m_model->imagineState().kind();
    m_provider = m_model->activeProvider();
    m_isTurnUnderWay = m_model->isTurnUnderWay();
}

void NewsGatherer::note(const ModelChange& change)
{
    switch (change.kind) {
    case ModelChange::Kind::connectionState:
        return noteConnection();
    case ModelChange::Kind::imagineState:
        return noteImagine();
    case ModelChange::Kind::activeProvider:
        return noteProvider();
    case ModelChange::Kind::entryAppended:
        return noteEntry(change.index);
    case ModelChange::Kind::permissionRequest:
        m_news.isAsked = m_model->permissionRequest().has_value();
        return tellLater();
    case ModelChange::Kind::errorMessage:
        return noteMessage();
    case ModelChange::Kind::workspaces:
    case ModelChange::Kind::selection:
    case ModelChange::Kind::plan:
    case ModelChange::Kind::cliLog:
    case ModelChange::Kind::modes:
    case ModelChange::Kind::providerUsage:
    case ModelChange::Kind::installStatus:
    case ModelChange::Kind::copiedCommand:
    case ModelChange::Kind::section:
    case ModelChange::Kind::remote:
    case ModelChange::Kind::imagineItems:
    case ModelChange::Kind::imagineProgress:
    case ModelChange::Kind::entriesReset:
    case ModelChange::Kind::entryTextAppended:
    case ModelChange::Kind::entryChanged:
        break;
    }
}

// A failure is also told when its message is the one that stands already. A turn that the person has stopped may still fail: it is none
// any more then. What a turn came to stands until the next begins, whatever else becomes of the connection meanwhile.
void NewsGatherer::noteConnection()
{
    const ConnectionState::Kind now = m_model->connectionState().kind();
    const ConnectionState::Kind before = std::exchange(m_connection, now);
    m_hadTurn = m_hadTurn || m_isTurnUnderWay;
    m_isTurnUnderWay = m_model->isTurnUnderWay();
    const bool isFailure = now == ConnectionState::Kind::failed;
    const bool isOver = before == ConnectionState::Kind::working && now == ConnectionState::Kind::ready;
    const bool isAtWork = m_model->connectionState().isBusy();
    m_news.isTurnOver = !isAtWork && (m_news.isTurnOver || isOver);
    m_news.hasFailed = m_news.hasFailed || isFailure;
    m_news.hasTurnFailed = !isAtWork && (m_news.hasTurnFailed || (isFailure && m_hadTurn));
    tellLater();
}

// Why a turn has failed stands in the news also when the message is put away before they are told.
void NewsGatherer::noteMessage()
{
    const auto& message = m_model->errorMessage();
    m_news.hasFailed = message.has_value();
    if (message) {
        m_news.message = QString::fromStdString(*message);
    }
    tellLater();
}

void NewsGatherer::noteImagine()
{
    const ConnectionState::Kind now = m_model->imagineState().kind();
    const ConnectionState::Kind before = std::exchange(m_imagine, now);
    const bool isFailure = now == ConnectionState::Kind::failed;
    const bool isOver = before == ConnectionState::Kind::working && now == ConnectionState::Kind::ready;
    const bool wasAtWork = before == ConnectionState::Kind::working || before == ConnectionState::Kind::connecting;
    const bool isAtWork = m_model->imagineState().isBusy();
    m_news.isGenerationOver = !isAtWork && (m_news.isGenerationOver || isOver);
    m_news.hasFailed = m_news.hasFailed || isFailure;
    m_news.hasGenerationFailed = !isAtWork && (m_news.hasGenerationFailed || (isFailure && wasAtWork));
    tellLater();
}

void NewsGatherer::noteProvider()
{
    const std::optional<AgentProvider> before = std::exchange(m_provider, m_model->activeProvider());
    m_hasProviderChanged = before && m_provider && before != m_provider;
}

void NewsGatherer::noteEntry(std::size_t row)
{
    const ChatEntry& entry = m_model->entries()[row];
    if (entry.kind == ChatEntryKind::system) {
        m_news.systemText = QString::fromStdString(entry.text);
        tellLater();
    } else if (entry.kind == ChatEntryKind::user) {
        m_wasPrompted = true;
        tellLater();
    }
}

// Much of it comes together, in an order that is not the one of its weight.
void NewsGatherer::tellLater()
{
    if (!std::exchange(m_isTellingLater, true)) {
        QMetaObject::invokeMethod(this, &NewsGatherer::tell, Qt::QueuedConnection);
    }
}

void NewsGatherer::tell()
{
    m_isTellingLater = false;
    News news = std::exchange(m_news, {});
    // A person who goes on with another runtime writes a prompt; a handoff changes the runtime in the middle of one.
    const bool wasPrompted = std::exchange(m_wasPrompted, false);
    const bool hadTurn = std::exchange(m_hadTurn, false);
    news.hasMoved = std::exchange(m_hasProviderChanged, false) && hadTurn && !wasPrompted;
    describe(news, *m_model);
    emit told(news);
}

void describe(News& news, const AppModel& model)
{
    const auto& request = model.permissionRequest();
    news.isAsked = news.isAsked && request;
    news.provider = model.activeProvider();
    if (request) {
        news.request = QString::fromStdString(request->title);
        news.asker = model.permissionSection();
        news.isHeard = model.isPermissionHeard();
    }
    if (const auto& message = model.errorMessage()) {
        news.message = QString::fromStdString(*message);
    }
    news.progress = QString::fromStdString(model.imagineProgress());
    news.wasGenerationStopped = model.imagineProgress() == AppModel::generationStopped;
    if (const ChatThread* thread = model.selectedThread()) {
        news.workspaceID = *model.selectedWorkspaceID();
        news.threadID = thread->id;
        news.taskTitle = QString::fromStdString(thread->title);
    }
}

} // namespace tessarin
