#include "Views/Announcer.h"

#include "App/AppModel.h"
#include "Views/ConversationRules.h"
#include "Views/PermissionRules.h"

#include <utility>

namespace tessarin
{

Announcer::Announcer(QObject* parent) : QObject(parent) { }

Announcer::~Announcer() = default;

void Announcer::attach(std::shared_ptr<AppModel> model)
{
    m_model = std::move(model);
    m_connection = m_model->connectionState().kind();
    m_imagine = m_model->imagineState().kind();
}

void Announcer::note(const ModelChange& change)
{
    switch (change.kind) {
    case ModelChange::Kind::connectionState:
        noteEnd(m_isTurnOver, m_connection, m_model->connectionState());
        break;
    case ModelChange::Kind::imagineState:
        noteEnd(m_isGenerationOver, m_imagine, m_model->imagineState());
        break;
    case ModelChange::Kind::permissionRequest:
        m_isAsked = m_model->permissionRequest().has_value();
        sayLater();
        break;
    case ModelChange::Kind::errorMessage:
        m_hasFailed = m_model->errorMessage().has_value();
        sayLater();
        break;
    case ModelChange::Kind::entryAppended: {
        const ChatEntry& entry = m_model->entries()[change.index];
        if (entry.kind == ChatEntryKind::system) {
            m_systemText = QString::fromStdString(entry.text);
            sayLater();
        }
        break;
    }
    case ModelChange::Kind::workspaces:
    case ModelChange::Kind::selection:
    case ModelChange::Kind::plan:
    case ModelChange::Kind::cliLog:
    case ModelChange::Kind::modes:
    case ModelChange::Kind::activeProvider:
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

// A failure is also told when its message is the one that stands already.
void Announcer::noteEnd(bool& isDue, ConnectionState::Kind& earlier, const ConnectionState& now)
{
    const ConnectionState::Kind before = std::exchange(earlier, now.kind());
    isDue = before == ConnectionState::Kind::working && now.kind() == ConnectionState::Kind::ready;
    m_hasFailed = m_hasFailed || now.kind() == ConnectionState::Kind::failed;
    if (isDue || m_hasFailed) {
        sayLater();
    }
}

// Much of it comes together, in an order that is not the one of its weight.
void Announcer::sayLater()
{
    if (!std::exchange(m_isSayingLater, true)) {
        QMetaObject::invokeMethod(this, &Announcer::say, Qt::QueuedConnection);
    }
}

void Announcer::say()
{
    m_isSayingLater = false;
    const QString text = news();
    m_isTurnOver = m_isGenerationOver = m_isAsked = m_hasFailed = false;
    m_systemText.clear();
    if (!text.isEmpty()) {
        m_text = text;
        emit textChanged();
        emit said();
    }
}

// What a person has to act on comes first; the line that a failure leaves in the task says the same once more.
QString Announcer::news() const
{
    if (m_isAsked && m_model->permissionRequest()) {
        return PermissionRules::heading(m_model->activeProvider()) + QStringLiteral(": ")
            + QString::fromStdString(m_model->permissionRequest()->title);
    }
    if (m_hasFailed && m_model->errorMessage()) {
        return QString::fromStdString(*m_model->errorMessage());
    }
    if (!m_systemText.isEmpty()) {
        return m_systemText;
    }
    if (m_isTurnOver) {
        return ConversationRules::speaker(m_model->activeProvider()) + QStringLiteral(" has finished.");
    }
    return m_isGenerationOver ? QString::fromStdString(m_model->imagineProgress()) : QString();
}

} // namespace tessarin
