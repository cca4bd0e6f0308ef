#pragma once

#include "App/ModelChange.h"
#include "Models/ChatEntry.h"
#include "Views/EntryListModel.h"
#include "Views/PlanListModel.h"
#include "Views/RoutingChoice.h"
#include "Views/Tint.h"

#include <QObject>
#include <qqmlintegration.h>

#include <memory>

namespace tessarin
{

class AppModel;

// What the main pane shows of the selected task, and what can be done there. It decides nothing: it reads AppModel and calls its
// operations. Main thread only; owned by WindowModel.
class ConversationModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes its conversation")
    Q_PROPERTY(bool hasProject MEMBER m_hasProject NOTIFY taskChanged)
    Q_PROPERTY(QString title MEMBER m_title NOTIFY taskChanged)
    Q_PROPERTY(QString path MEMBER m_path NOTIFY taskChanged)
    Q_PROPERTY(QString projectName MEMBER m_projectName NOTIFY taskChanged)
    Q_PROPERTY(QString connectionLabel MEMBER m_connectionLabel NOTIFY connectionChanged)
    Q_PROPERTY(tessarin::Tint::Value connectionTint MEMBER m_connectionTint NOTIFY connectionChanged)
    Q_PROPERTY(QString providerSymbol MEMBER m_providerSymbol NOTIFY providerChanged)
    Q_PROPERTY(QString providerLabel MEMBER m_providerLabel NOTIFY providerChanged)
    Q_PROPERTY(QString providerHelp MEMBER m_providerHelp NOTIFY providerChanged)
    Q_PROPERTY(QString usageText MEMBER m_usageText NOTIFY providerChanged)
    Q_PROPERTY(tessarin::Tint::Value usageTint MEMBER m_usageTint NOTIFY providerChanged)
    Q_PROPERTY(bool isWorking MEMBER m_isWorking NOTIFY connectionChanged)
    Q_PROPERTY(QString workingText MEMBER m_workingText NOTIFY connectionChanged)
    Q_PROPERTY(bool canSend MEMBER m_canSend NOTIFY connectionChanged)
    Q_PROPERTY(bool hasRunnableProvider MEMBER m_hasRunnableProvider NOTIFY runnableChanged)
    Q_PROPERTY(bool hasPlan MEMBER m_hasPlan NOTIFY planChanged)
    Q_PROPERTY(QString planLabel MEMBER m_planLabel NOTIFY planChanged)
    Q_PROPERTY(QString routingLabel MEMBER m_routingLabel NOTIFY modesChanged)
    Q_PROPERTY(QString routingSymbol MEMBER m_routingSymbol NOTIFY modesChanged)
    Q_PROPERTY(QList<tessarin::RoutingChoice> routingChoices MEMBER m_routingChoices NOTIFY modesChanged)
    Q_PROPERTY(bool canChangeRoutingMode MEMBER m_canChangeRoutingMode NOTIFY modesChanged)
    Q_PROPERTY(tessarin::EntryListModel* entries READ entries CONSTANT)
    Q_PROPERTY(tessarin::PlanListModel* plan READ plan CONSTANT)
public:
    explicit ConversationModel(QObject* parent = nullptr);
    ~ConversationModel() override;

    // Shows this model from now on.
    void attach(std::shared_ptr<AppModel> model);
    void note(const ModelChange& change);

    // The trimmed draft, when it may be sent now; empty keeps the draft in the composer.
    Q_INVOKABLE QString promptToSend(const QString& draft) const;
    Q_INVOKABLE void send(const QString& prompt);
    Q_INVOKABLE void stopWorking();
    Q_INVOKABLE void setRoutingMode(int mode);
    Q_INVOKABLE void revealProject();
    // Looks again whether any runtime can run.
    Q_INVOKABLE void checkAgain();

    [[nodiscard]] EntryListModel* entries() { return &m_entries; }
    [[nodiscard]] PlanListModel* plan() { return &m_plan; }

signals:
    void taskChanged();
    void connectionChanged();
    void providerChanged();
    void runnableChanged();
    void planChanged();
    void modesChanged();

private:
    [[nodiscard]] const std::vector<ChatEntry>& modelEntries() const;
    void noteEntries(const ModelChange& change);
    void readTask();
    void readConnection();
    void readProvider();
    void readPlan();
    void readModes();

    std::shared_ptr<AppModel> m_model;
    EntryListModel m_entries;
    PlanListModel m_plan;

    bool m_hasProject = false;
    QString m_title;
    QString m_path;
    QString m_projectName;
    QString m_connectionLabel;
    Tint::Value m_connectionTint = Tint::Secondary;
    QString m_providerSymbol;
    QString m_providerLabel;
    QString m_providerHelp;
    QString m_usageText;
    Tint::Value m_usageTint = Tint::Secondary;
    bool m_isWorking = false;
    QString m_workingText;
    bool m_canSend = false;
    bool m_hasRunnableProvider = false;
    bool m_hasPlan = false;
    QString m_planLabel;
    QString m_routingLabel;
    QString m_routingSymbol;
    QList<RoutingChoice> m_routingChoices;
    bool m_canChangeRoutingMode = false;
};

} // namespace tessarin
