#pragma once

#include "App/ModelChange.h"

#include <QObject>
#include <QString>
#include <qqmlintegration.h>

#include <memory>

namespace tessarin
{

class AppModel;

// The way out of the program. A person who quits while an agent works is asked once; asking to quit again says yes, in whatever way it is
// asked. A question whose reason goes away goes with it, and the program stays: the answer that the person waited for is there now, and
// nobody has said yes. Main thread only; owned by WindowModel.
class Quitting : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes its quitting")
    Q_PROPERTY(bool isAsked MEMBER m_isAsked NOTIFY questionChanged)
    Q_PROPERTY(QString question MEMBER m_question NOTIFY questionChanged)
public:
    explicit Quitting(QObject* parent = nullptr);
    ~Quitting() override;

    void attach(std::shared_ptr<AppModel> model);
    void note(const ModelChange& change);

    // The person quits, by a key or a menu: asks, or ends.
    Q_INVOKABLE void request();
    // The main window is being closed, which is quitting; false when the person is asked first.
    Q_INVOKABLE bool mayClose();
    Q_INVOKABLE void confirm();
    Q_INVOKABLE void giveUp();

    // Nobody is asked: a signal.
    void end();
    // The session of the desktop ends. Where that has to be asked about, and the desktop lets the person be asked, the end of the session
    // is called off by the caller: nothing here waits for the answer within the call, and they log out again when they have given it, or
    // instead of giving it: with the question in sight that says yes. Everywhere else the windows close without a question.
    [[nodiscard]] bool hasToAsk() const;
    void holdSession();
    void yieldToSession();

    // The person uses a window of the program, any of them, once a model is there: a session that was to end has not, and they are asked
    // again. That a window has the focus tells nothing, it gets it when those before it close.
    bool eventFilter(QObject* receiver, QEvent* event) override;

signals:
    void questionChanged();
    void asking(); // the window has to be seen, and the question comes next
    void decided(); // the program ends

private:
    [[nodiscard]] bool isAnythingAtWork() const;
    [[nodiscard]] QString currentQuestion() const;
    void ask(const QString& question);
    void readQuestion();

    std::shared_ptr<AppModel> m_model;
    bool m_isAsked = false;
    QString m_question; // stays while the alert leaves
    bool m_isDecided = false;
    bool m_isSessionEnding = false;
    bool m_isReadingLater = false;
};

} // namespace tessarin
