#include "Views/Quitting.h"

#include "App/AppModel.h"
#include "Views/ModelChanges.h"
#include "Views/QuitRules.h"

#include <QCoreApplication>
#include <QEvent>

#include <utility>

namespace tessarin
{

Quitting::Quitting(QObject* parent) : QObject(parent) { }

Quitting::~Quitting() = default;

void Quitting::attach(std::shared_ptr<AppModel> model)
{
    m_model = std::move(model);
    QCoreApplication::instance()->installEventFilter(this);
}

// A handoff has no agent for a moment, so the state is read when all of a change has come.
void Quitting::note(const ModelChange& change)
{
    using Kind = ModelChange::Kind;
    const bool mayMatter
        = isOneOf(change.kind, { Kind::connectionState, Kind::imagineState, Kind::activeProvider, Kind::selection, Kind::workspaces });
    if (m_isAsked && mayMatter && !std::exchange(m_isReadingLater, true)) {
        QMetaObject::invokeMethod(this, &Quitting::readQuestion, Qt::QueuedConnection);
    }
}

void Quitting::request()
{
    m_isSessionEnding = false;
    if (mayClose()) {
        emit decided();
    }
}

bool Quitting::mayClose()
{
    if (hasToAsk() && !m_isSessionEnding) {
        ask(currentQuestion());
        return false;
    }
    m_isDecided = true;
    return true;
}

void Quitting::confirm()
{
    end();
}

void Quitting::giveUp()
{
    if (!m_isAsked) {
        return;
    }
    m_isAsked = false;
    emit questionChanged();
}

void Quitting::end()
{
    m_isDecided = true;
    emit decided();
}

bool Quitting::hasToAsk() const
{
    return !m_isDecided && !m_isAsked && isAnythingAtWork();
}

void Quitting::holdSession()
{
    ask(currentQuestion());
}

// Where nothing is at work nothing is given up: what begins later is asked about.
void Quitting::yieldToSession()
{
    m_isSessionEnding = isAnythingAtWork();
}

bool Quitting::eventFilter(QObject* receiver, QEvent* event)
{
    if (event->type() == QEvent::KeyPress || event->type() == QEvent::MouseButtonPress || event->type() == QEvent::TouchBegin) {
        m_isSessionEnding = false;
    }
    return QObject::eventFilter(receiver, event);
}

bool Quitting::isAnythingAtWork() const
{
    return !currentQuestion().isEmpty();
}

QString Quitting::currentQuestion() const
{
    if (!m_model) {
        return {};
    }
    UnfinishedWork work;
    work.isGenerating = m_model->imagineState().isBusy();
    if (const ChatThread* thread = m_model->selectedThread(); thread != nullptr && m_model->isTurnUnderWay()) {
        work.taskTitle = QString::fromStdString(thread->title);
        work.provider = m_model->activeProvider();
    }
    return QuitRules::question(work);
}

void Quitting::ask(const QString& question)
{
    emit asking();
    m_question = question;
    m_isAsked = true;
    emit questionChanged();
}

void Quitting::readQuestion()
{
    m_isReadingLater = false;
    if (!m_isAsked) {
        return;
    }
    const QString question = currentQuestion();
    if (question.isEmpty()) {
        return giveUp();
    }
    m_question = question;
    emit questionChanged();
}

} // namespace tessarin
