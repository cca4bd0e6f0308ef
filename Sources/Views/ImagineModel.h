#pragma once

#include "App/ModelChange.h"
#include "Views/ImagineFormat.h"
#include "Views/ImagineListModel.h"
#include "Views/PreviewLoader.h"

#include <QObject>
#include <QString>
#include <qqmlintegration.h>

#include <memory>
#include <optional>

namespace tessarin
{

class AppModel;

// The library of creations and what makes one more, for the gallery and for the sidebar. It decides nothing: it reads AppModel and calls
// its operations. Main thread only; owned by WindowModel.
class ImagineModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes its model of creations")
    Q_PROPERTY(tessarin::ImagineListModel* items READ items CONSTANT)
    Q_PROPERTY(tessarin::PreviewLoader* previews READ previews CONSTANT)
    Q_PROPERTY(int count MEMBER m_count NOTIFY countChanged)
    Q_PROPERTY(QString countLabel MEMBER m_countLabel NOTIFY countChanged) // "2 creations"
    Q_PROPERTY(QString stateLabel MEMBER m_stateLabel NOTIFY stateChanged)
    Q_PROPERTY(bool working MEMBER m_working NOTIFY stateChanged) // a prompt runs; not while the runtime starts
    Q_PROPERTY(QString progress MEMBER m_progress NOTIFY progressChanged)
    Q_PROPERTY(bool grokMissing MEMBER m_grokMissing NOTIFY grokMissingChanged)
public:
    explicit ImagineModel(InstantSource now, QObject* parent = nullptr);
    ~ImagineModel() override;

    // Shows this model from now on.
    void attach(std::shared_ptr<AppModel> model);
    void note(const ModelChange& change);
    // A person is there: the times of the creations are read again.
    void refreshTimes() { m_items.refreshTimes(); }

    // The trimmed draft, when it may be generated now; empty keeps the draft in its field.
    Q_INVOKABLE QString promptToGenerate(const QString& draft) const;
    Q_INVOKABLE void generate(const QString& prompt, tessarin::ImagineFormat::Value format);
    Q_INVOKABLE void cancel();
    // By the item's id; one that is gone is passed over.
    Q_INVOKABLE void open(const QString& id);
    Q_INVOKABLE void remove(const QString& id); // to the trash

    [[nodiscard]] ImagineListModel* items() { return &m_items; }
    [[nodiscard]] PreviewLoader* previews() { return &m_previews; }

signals:
    void countChanged();
    void stateChanged();
    void progressChanged();
    void grokMissingChanged();

private:
    void readItems();
    void readState();
    void readProgress();
    void readInstallStatus();
    [[nodiscard]] std::optional<ImagineItem> itemWithID(const QString& id) const;

    std::shared_ptr<AppModel> m_model;
    ImagineListModel m_items;
    PreviewLoader m_previews;
    int m_count = 0;
    QString m_countLabel;
    QString m_stateLabel;
    bool m_working = false;
    QString m_progress;
    bool m_grokMissing = false;
};

} // namespace tessarin
