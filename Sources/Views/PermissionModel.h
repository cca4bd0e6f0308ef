#pragma once

#include "App/ModelChange.h"
#include "Views/PermissionChoice.h"
#include "Views/TextBlock.h"

#include <QList>
#include <QObject>
#include <QString>
#include <qqmlintegration.h>

#include <memory>

namespace tessarin
{

class AppModel;

// What an agent asks of the person, and the mode that says how often it has to. Main thread only; owned by WindowModel.
class PermissionModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes its permissions")
    Q_PROPERTY(bool isAsked MEMBER m_isAsked NOTIFY requestChanged)
    Q_PROPERTY(QString heading MEMBER m_heading NOTIFY requestChanged)
    Q_PROPERTY(QString subject MEMBER m_subject NOTIFY requestChanged)
    Q_PROPERTY(tessarin::StyledRuns detail MEMBER m_detail NOTIFY requestChanged)
    Q_PROPERTY(QString note MEMBER m_note NOTIFY requestChanged)
    Q_PROPERTY(QList<tessarin::PermissionChoice> choices MEMBER m_choices NOTIFY requestChanged)
    Q_PROPERTY(bool hasDefaultChoice MEMBER m_hasDefaultChoice NOTIFY requestChanged)
    Q_PROPERTY(QString defaultChoice MEMBER m_defaultChoice NOTIFY requestChanged)
    Q_PROPERTY(QString modeLabel MEMBER m_modeLabel NOTIFY modeChanged)
    Q_PROPERTY(QString modeSymbol MEMBER m_modeSymbol NOTIFY modeChanged)
    Q_PROPERTY(QString modeHelp MEMBER m_modeHelp NOTIFY modeChanged)
    Q_PROPERTY(bool isFullAccess MEMBER m_isFullAccess NOTIFY modeChanged)
    Q_PROPERTY(bool canChangeMode MEMBER m_canChangeMode NOTIFY modeChanged)
    Q_PROPERTY(QList<tessarin::PermissionModeChoice> modeChoices MEMBER m_modeChoices NOTIFY modeChanged)
public:
    using QObject::QObject;

    // Shows this model from now on.
    void attach(std::shared_ptr<AppModel> model);
    void note(const ModelChange& change);

    Q_INVOKABLE void respond(const QString& optionID);
    Q_INVOKABLE void reject();
    Q_INVOKABLE void setMode(int mode);
    // After the person has confirmed it.
    Q_INVOKABLE void enableFullAccess();

signals:
    void requestArrived(); // one that was not shown before
    void requestChanged();
    void modeChanged();

private:
    void readRequest();
    void readMode();

    std::shared_ptr<AppModel> m_model;

    int m_arrivals = 0; // of requests
    bool m_isAsked = false;
    QString m_heading;
    QString m_subject;
    StyledRuns m_detail;
    QString m_note;
    QList<PermissionChoice> m_choices;
    bool m_hasDefaultChoice = false;
    QString m_defaultChoice; // the id of the one that Return chooses; an id may be empty
    QString m_modeLabel;
    QString m_modeSymbol;
    QString m_modeHelp;
    bool m_isFullAccess = false;
    bool m_canChangeMode = false;
    QList<PermissionModeChoice> m_modeChoices;
};

} // namespace tessarin
