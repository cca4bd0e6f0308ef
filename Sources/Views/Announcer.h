#pragma once

#include "App/ModelChange.h"
#include "Models/ConnectionState.h"

#include <QObject>
#include <QString>
#include <qqmlintegration.h>

#include <memory>

namespace tessarin
{

class AppModel;

// What a screen reader is told without being asked: that a turn has ended or failed, that an agent asks, and what the program itself says
// in a task. What happens within one turn of the main loop is said as one sentence. Main thread only; owned by WindowModel.
class Announcer : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes its announcer")
    Q_PROPERTY(QString text MEMBER m_text NOTIFY textChanged)
public:
    explicit Announcer(QObject* parent = nullptr);
    ~Announcer() override;

    // Tells of this model from now on.
    void attach(std::shared_ptr<AppModel> model);
    void note(const ModelChange& change);

signals:
    void textChanged();
    void said(); // also when the same text is said again

private:
    void noteEnd(bool& isDue, ConnectionState::Kind& earlier, const ConnectionState& now);
    void sayLater();
    void say();
    [[nodiscard]] QString news() const;

    std::shared_ptr<AppModel> m_model;
    ConnectionState::Kind m_connection = ConnectionState::Kind::idle;
    ConnectionState::Kind m_imagine = ConnectionState::Kind::idle;
    // What is to be said with the next turn of the loop.
    bool m_isTurnOver = false;
    bool m_isGenerationOver = false;
    bool m_isAsked = false;
    bool m_hasFailed = false;
    QString m_systemText;
    bool m_isSayingLater = false;
    QString m_text;
};

} // namespace tessarin
