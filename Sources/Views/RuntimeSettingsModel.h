#pragma once

#include "App/ModelChange.h"
#include "Views/RuntimeSettingsRules.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <qqmlintegration.h>

#include <memory>

namespace tessarin
{

class AppModel;
class Desktop;
class Preferences;

// One runtime in the settings: where its program is, its model where one is set, whether it is there and signed in. What the person types
// is stored letter by letter under the keys that the locators read. Main thread only; owned by SettingsModel.
class RuntimeSettingsModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes its models of the runtimes")
    Q_PROPERTY(QString heading READ heading CONSTANT)
    Q_PROPERTY(QString pathTitle READ pathTitle CONSTANT)
    Q_PROPERTY(QString chooserTitle READ chooserTitle CONSTANT)
    Q_PROPERTY(QString modelTitle READ modelTitle CONSTANT) // empty where no model is set
    Q_PROPERTY(QString modelCaption READ modelCaption CONSTANT) // empty without a rule for the model
    Q_PROPERTY(QStringList captions READ captions CONSTANT)
    Q_PROPERTY(QString installLine READ installLine CONSTANT) // empty where none is shown
    Q_PROPERTY(QString signInTitle READ signInTitle CONSTANT)
    Q_PROPERTY(QString path MEMBER m_path NOTIFY storedChanged)
    Q_PROPERTY(QString modelName MEMBER m_modelName NOTIFY storedChanged)
    Q_PROPERTY(bool isModelAccepted MEMBER m_isModelAccepted NOTIFY storedChanged)
    Q_PROPERTY(QString statusLabel MEMBER m_statusLabel NOTIFY stateChanged)
    Q_PROPERTY(QString statusSymbol MEMBER m_statusSymbol NOTIFY stateChanged)
    Q_PROPERTY(tessarin::Tint::Value statusTint MEMBER m_statusTint NOTIFY stateChanged)
    Q_PROPERTY(bool canSignIn MEMBER m_canSignIn NOTIFY stateChanged)
    Q_PROPERTY(QString usageText MEMBER m_usageText NOTIFY stateChanged) // empty without a report
    Q_PROPERTY(tessarin::Tint::Value usageTint MEMBER m_usageTint NOTIFY stateChanged)
public:
    RuntimeSettingsModel(
        AgentProvider provider, std::shared_ptr<AppModel> model, Preferences& preferences, Desktop& desktop, QObject* parent = nullptr);

    void note(const ModelChange& change);

    // As it is typed; an empty path leaves it to the search. Another one than before is looked for at once.
    Q_INVOKABLE void setPath(const QString& path);
    // As it is typed, also one that the runtime will be refused for.
    Q_INVOKABLE void setModelName(const QString& name);
    // The person picks the program in a dialog; its path is then as if typed.
    Q_INVOKABLE void choosePath();
    // Reads what is stored, and looks for the program again.
    Q_INVOKABLE void refresh();
    // By the vendor's own program.
    Q_INVOKABLE void signIn();

    [[nodiscard]] const QString& heading() const { return m_words.heading; }
    [[nodiscard]] const QString& pathTitle() const { return m_words.pathTitle; }
    [[nodiscard]] const QString& chooserTitle() const { return m_words.chooserTitle; }
    [[nodiscard]] const QString& modelTitle() const { return m_words.modelTitle; }
    [[nodiscard]] const QString& modelCaption() const { return m_words.modelCaption; }
    [[nodiscard]] const QStringList& captions() const { return m_words.captions; }
    [[nodiscard]] const QString& installLine() const { return m_words.installLine; }
    [[nodiscard]] const QString& signInTitle() const { return m_words.signInTitle; }

signals:
    void storedChanged();
    void stateChanged();

private:
    void readStored();
    void readState();
    void askForProgram();
    [[nodiscard]] RuntimeSettingsRules::State state() const;

    // Constant after construction.
    const AgentProvider m_provider;
    const RuntimeSettingsRules::Words m_words;
    const RuntimeSettingsRules::Keys m_keys;
    const std::shared_ptr<AppModel> m_model;
    Preferences& m_preferences;
    Desktop& m_desktop;

    QString m_path;
    QString m_modelName;
    bool m_isModelAccepted = true;
    QString m_statusLabel;
    QString m_statusSymbol;
    Tint::Value m_statusTint = Tint::Plain;
    bool m_canSignIn = false;
    QString m_usageText;
    Tint::Value m_usageTint = Tint::Secondary;
};

} // namespace tessarin
