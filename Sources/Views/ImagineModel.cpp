#include "Views/ImagineModel.h"

#include "App/AppModel.h"
#include "Views/ImagineRules.h"

#include <utility>

namespace tessarin
{

ImagineModel::ImagineModel(InstantSource now, QObject* parent)
    : QObject(parent), m_items(std::move(now)), m_countLabel(ImagineRules::countLabel(0))
{
}

ImagineModel::~ImagineModel() = default;

void ImagineModel::attach(std::shared_ptr<AppModel> model)
{
    m_model = std::move(model);
    readItems();
    readState();
    readProgress();
    readInstallStatus();
}

void ImagineModel::note(const ModelChange& change)
{
    switch (change.kind) {
    case ModelChange::Kind::imagineItems:
        readItems();
        break;
    case ModelChange::Kind::imagineState:
        readState();
        break;
    case ModelChange::Kind::imagineProgress:
        readProgress();
        break;
    case ModelChange::Kind::installStatus:
        readInstallStatus();
        break;
    case ModelChange::Kind::workspaces:
    case ModelChange::Kind::selection:
    case ModelChange::Kind::connectionState:
    case ModelChange::Kind::plan:
    case ModelChange::Kind::permissionRequest:
    case ModelChange::Kind::errorMessage:
    case ModelChange::Kind::cliLog:
    case ModelChange::Kind::modes:
    case ModelChange::Kind::activeProvider:
    case ModelChange::Kind::providerUsage:
    case ModelChange::Kind::copiedCommand:
    case ModelChange::Kind::section:
    case ModelChange::Kind::remote:
    case ModelChange::Kind::entriesReset:
    case ModelChange::Kind::entryAppended:
    case ModelChange::Kind::entryTextAppended:
    case ModelChange::Kind::entryChanged:
        break;
    }
}

void ImagineModel::readItems()
{
    m_items.setItems(m_model->imagineItems());
    m_count = m_items.count();
    m_countLabel = ImagineRules::countLabel(m_count);
    emit countChanged();
}

void ImagineModel::readState()
{
    const ConnectionState& state = m_model->imagineState();
    m_stateLabel = QString::fromUtf8(state.label().data(), static_cast<qsizetype>(state.label().size()));
    m_working = state.kind() == ConnectionState::Kind::working;
    emit stateChanged();
}

void ImagineModel::readProgress()
{
    m_progress = ImagineRules::excerpt(QString::fromStdString(m_model->imagineProgress()));
    emit progressChanged();
}

void ImagineModel::readInstallStatus()
{
    m_grokMissing = m_model->installStatus().isMissing();
    emit grokMissingChanged();
}

QString ImagineModel::promptToGenerate(const QString& draft) const
{
    return QString::fromStdString(ImagineRules::promptToGenerate(draft.toStdString(), m_model->imagineState()).value_or(""));
}

void ImagineModel::generate(const QString& prompt, ImagineFormat::Value format)
{
    m_model->generateImagine(prompt.toStdString(), ImagineRules::kind(format));
}

void ImagineModel::cancel()
{
    m_model->cancelImagine();
}

// The model gets a copy: what it does may take the item out of the list.
void ImagineModel::open(const QString& id)
{
    if (const auto item = itemWithID(id)) {
        m_model->openImagineItem(*item);
    }
}

void ImagineModel::remove(const QString& id)
{
    if (const auto item = itemWithID(id)) {
        m_model->deleteImagineItem(*item);
    }
}

std::optional<ImagineItem> ImagineModel::itemWithID(const QString& id) const
{
    const auto parsed = Uuid::parse(id.toStdString());
    const ImagineItem* item = parsed ? m_items.itemWithID(*parsed) : nullptr;
    return item != nullptr ? std::optional(*item) : std::nullopt;
}

} // namespace tessarin
