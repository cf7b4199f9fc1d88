#pragma once

#include "comm/GaugeContext.h"
#include "look/ChildView.h"
#include "plugins/PluginHost.h"

#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QTimer>

#include <memory>

class PluginObject;

/// The window around one plug-in: embeds it, tells it about the target, shows it, and stays alive whatever
/// becomes of it. A plug-in without a widget of its own shows its state here.
class frmPlugin final : public ChildView {
    Q_OBJECT
public:
    /// @param dataFlash  what plug-ins reach of it; may be nothing
    /// @param folders  where plug-ins are looked for
    frmPlugin(GaugeContext& context, std::unique_ptr<PluginDataFlash> dataFlash, QStringList folders);
    ~frmPlugin() override;

    static constexpr int kUnloadMs = 100; ///< of tmrUnload

    /// Embeds and starts a plug-in.
    /// @param key  the view key, which is its class name
    void Mode(const QString& key);
    /// Asks for the window to be closed a little later.
    void UnloadInTime();

    QList<QAction*> FileActions() const override { return {mnuFileClose}; }
    void Applyskin() override;
    [[nodiscard]] bool Busy() const override;
    void Abandon() override;

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    enum class State { Starting, Running, NotAnswering, Ended };

    void LayOut();
    void Introduce(); ///< caption, target, pop-up; the plug-in answers in its own time
    void ShowForm(); ///< when it is due
    void Embed();
    void NoteTrouble(const QString& text);
    void NoteEnd(const QString& reason);
    void SetState(State state, const QString& detail = {});
    void ShowFacts(); ///< calls and hold, once a second
    void DropObject();
    [[nodiscard]] QString TargetInfo() const;

    GaugeContext& m_context;
    std::unique_ptr<PluginDataFlash> m_dataFlash;
    QStringList m_folders;
    QString m_key;
    PluginHost* m_host = nullptr;
    PluginObject* m_object = nullptr;
    State m_state = State::Starting;
    std::int16_t m_popup = 0;
    bool m_introduced = false;
    bool m_shownForm = false;
    bool m_unloadRequested = false;

    QStackedWidget* OLE1;
    QTimer* tmrUnload;
    QTimer* m_facts;
    QAction* mnuFileClose;
    QWidget* m_page;
    QLabel* lblPluginState;
    QLabel* lblPluginDetail;
    QLabel* lblPluginFacts;
    QPushButton* cmdShowForm;
    QPushButton* cmdEndPlugin;
    QPushButton* cmdStartAgain;
    QLabel* lblPluginOutput;
    QPlainTextEdit* txtPluginOutput;
};
