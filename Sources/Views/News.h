#pragma once

#include "App/ModelChange.h"
#include "Models/AgentProvider.h"
#include "Models/AppSection.h"
#include "Models/ConnectionState.h"
#include "Platform/Uuid.h"

#include <QObject>
#include <QString>

#include <memory>
#include <optional>
#include <string>

namespace tessarin
{

class AppModel;

// What has happened within one turn of the main loop that somebody who does not look wants to know of, and what stood around it when it
// was told. How it is worded is the matter of NotificationRules.
struct News {
    bool isAsked = false; // an agent asks for a permission
    bool hasFailed = false; // anything that has a message
    bool hasTurnFailed = false; // a turn, or the start of a runtime for one
    bool hasGenerationFailed = false;
    bool hasMoved = false; // the turn goes on with another runtime
    bool isTurnOver = false;
    bool isGenerationOver = false;
    QString systemText; // the last line that the program itself has written into the task

    std::optional<AgentProvider> provider;
    QString request; // the title of what is asked for
    bool isHeard = false; // who asks is still there to hear an answer
    AppSection asker = AppSection::build;
    std::optional<QString> message; // of a failure
    QString progress; // of Imagine
    bool wasGenerationStopped = false; // by the person
    Uuid workspaceID;
    Uuid threadID;
    QString taskTitle;
};

// Fills in what stands around news now: all of it behind `systemText`.
void describe(News& news, const AppModel& model);

// Gathers what a model publishes into news. Main thread only; owned by WindowModel.
class NewsGatherer : public QObject
{
    Q_OBJECT
public:
    explicit NewsGatherer(QObject* parent = nullptr);
    ~NewsGatherer() override;

    // Tells of this model from now on.
    void attach(std::shared_ptr<AppModel> model);
    void note(const ModelChange& change);

signals:
    void told(const News& news);

private:
    void noteConnection();
    void noteMessage();
    void noteImagine();
    void noteProvider();
    void noteEntry(std::size_t row);
    void tellLater();
    void tell();

    std::shared_ptr<AppModel> m_model;
    // As they were before the next change of each.
    ConnectionState::Kind m_connection = ConnectionState::Kind::idle;
    ConnectionState::Kind m_imagine = ConnectionState::Kind::idle;
    std::optional<AgentProvider> m_provider;
    bool m_isTurnUnderWay = false;
    // To be told with the next turn of the loop.
    News m_news;
    bool m_hadTurn = false; // one was under way at some time since the last news
    bool m_hasProviderChanged = false; // from one to another
    bool m_wasPrompted = false;
    bool m_isTellingLater = false;
};

} // namespace tessarin
