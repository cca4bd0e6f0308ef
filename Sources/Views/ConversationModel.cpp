#include "Views/ConversationModel.h"

#include "App/AppModel.h"
#include "Views/ConversationRules.h"
#include "Views/ModelChanges.h"
#include "Views/PlanRules.h"
#include "Views/ProviderStatusRules.h"

#include <algorithm>

namespace tessarin
{

ConversationModel::ConversationModel(QObject* parent)
    : QObject(parent), m_entries([this]() -> const std::vector<ChatEntry>& { return modelEntries(); })
{
}

ConversationModel::~ConversationModel() = default;

const std::vector<ChatEntry>& ConversationModel::modelEntries() const
{
    static const std::vector<ChatEntry> none;
    return m_model ? m_model->entries() : none;
}

void ConversationModel::attach(std::shared_ptr<AppModel> model)
{
    m_model = std::move(model);
    m_entries.noteReset();
    readTask();
    readPlan();
    checkAgain();
    readModes();
    readConnection();
    readProvider();
}

void ConversationModel::note(const ModelChange& change)
{
    using Kind = ModelChange::Kind;
    noteEntries(change);
    if (isOneOf(change.kind, { Kind::workspaces, Kind::selection })) {
        readTask();
    }
    if (isOneOf(change.kind, { Kind::selection, Kind::connectionState, Kind::permissionRequest, Kind::activeProvider })) {
        readConnection();
    }
    // While the runtime of Imagine works the modes stay as they are too.
    if (isOneOf(change.kind, { Kind::connectionState, Kind::permissionRequest, Kind::modes, Kind::imagineState })) {
        readModes();
    }
    if (isOneOf(change.kind, { Kind::activeProvider, Kind::providerUsage, Kind::modes })) {
        readProvider();
    }
    if (change.kind == Kind::plan) {
        readPlan();
    }
    if (isOneOf(change.kind, { Kind::modes, Kind::installStatus })) {
        checkAgain();
    }
}

void ConversationModel::noteEntries(const ModelChange& change)
{
    using Kind = ModelChange::Kind;
    if (change.kind == Kind::selection || change.kind == Kind::entriesReset) {
        m_entries.noteReset();
    } else if (change.kind == Kind::entryAppended) {
        m_entries.noteAppended();
    } else if (change.kind == Kind::entryTextAppended) {
        m_entries.noteTextAppended(change.index);
    } else if (change.kind == Kind::entryChanged) {
        m_entries.noteChanged(change.index);
    }
}

void ConversationModel::readTask()
{
    const Workspace* workspace = m_model->selectedWorkspace();
    const ChatThread* thread = m_model->selectedThread();
    m_hasProject = workspace != nullptr;
    m_title = thread ? QString::fromStdString(thread->title) : QStringLiteral("New task");
    m_path = workspace ? QString::fromStdString(workspace->path) : QString();
    m_projectName = workspace ? QString::fromStdString(workspace->name) : QStringLiteral("Project");
    emit taskChanged();
}

void ConversationModel::readConnection()
{
    const ConnectionState& state = m_model->connectionState();
    m_connectionLabel = QString::fromStdString(m_model->connectionLabel());
    m_connectionTint = ConversationRules::connectionTint(state);
    m_isWorking = state.kind() == ConnectionState::Kind::working;
    m_workingText = ConversationRules::workingText(m_model->activeProvider());
    m_canSend = m_model->canSend();
    emit connectionChanged();
}

void ConversationModel::readProvider()
{
    const auto active = m_model->activeProvider();
    const auto& reports = m_model->providerUsage();
    const auto report = active ? reports.find(*active) : reports.end();
    const ProviderUsage* usage = report == reports.end() ? nullptr : &report->second;
    m_providerSymbol = ProviderStatusRules::symbol(active);
    m_providerLabel = QString::fromStdString(m_model->activeProviderLabel());
    m_providerHelp = ProviderStatusRules::help(active, usage, m_model->routingMode());
    m_usageText = ProviderStatusRules::usageText(usage);
    m_usageTint = ProviderStatusRules::usageTint(usage);
    emit providerChanged();
}

void ConversationModel::readPlan()
{
    const std::vector<PlanEntry>& plan = m_model->plan();
    m_plan.setEntries(plan);
    m_hasPlan = !plan.empty();
    m_planLabel = PlanRules::label(plan);
    emit planChanged();
}

void ConversationModel::readModes()
{
    const ProviderRoutingMode current = m_model->routingMode();
    m_routingLabel = QString::fromUtf8(label(current));
    m_routingSymbol = ConversationRules::routingSymbol(current);
    m_canChangeRoutingMode = m_model->canChangeRoutingMode();
    m_routingChoices.clear();
    for (const ProviderRoutingMode mode : allProviderRoutingModes) {
        m_routingChoices.append({ static_cast<int>(mode), ConversationRules::routingMenuTitle(mode, current),
            ConversationRules::routingSymbol(mode), mode == current });
    }
    emit modesChanged();
}

void ConversationModel::checkAgain()
{
    m_hasRunnableProvider = m_model->hasRunnableProvider();
    emit runnableChanged();
}

QString ConversationModel::promptToSend(const QString& draft) const
{
    return QString::fromStdString(ConversationRules::promptToSend(draft.toStdString(), m_canSend).value_or(""));
}

void ConversationModel::send(const QString& prompt)
{
    m_model->send(prompt.toStdString());
}

void ConversationModel::stopWorking()
{
    m_model->stopWorking();
}

void ConversationModel::setRoutingMode(int mode)
{
    const auto chosen = std::find_if(allProviderRoutingModes.begin(), allProviderRoutingModes.end(),
        [mode](ProviderRoutingMode candidate) { return static_cast<int>(candidate) == mode; });
    if (chosen != allProviderRoutingModes.end()) {
        m_model->setRoutingMode(*chosen);
    }
}

void ConversationModel::revealProject()
{
    m_model->revealProject();
}

} // namespace tessarin
