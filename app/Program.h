#pragma once

#include "comm/BusWatch.h"
#include "comm/GaugeAccess.h"
#include "comm/GaugeContext.h"
#include "comm/GaugeLink.h"
#include "comm/adapters/Adapters.h"
#include "comm/frmUSB.h"
#include "look/Skin.h"
#include "platform/ErrorList.h"
#include "platform/ProfileFile.h"
#include "platform/TimeSource.h"
#include "platform/UserMessages.h"
#include "settings/StartupState.h"
#include "settings/TargetSettings.h"

#include <QString>

#include <functional>
#include <memory>

/// The program without its windows: start-up state, the adapter in use, the target. The main window owns the
/// one instance and runs the operations in the order of its load sequence.
class Program {
public:
    Program(TimeSource& time, UserMessages& messages, ErrorList& errors, const QString& programFolder);
    ~Program();

    void ParseCommandLine(const QString& commandLine);
    /// Skin and gauge address from the program settings.
    [[nodiscard]] Skin LoadConfiguration();
    /// Opens the first free adapter; a failure shows the fixed message and keeps the reason in
    /// AdapterProblem().
    bool OpenAdapterConnection();
    /// Looks the gauge up in the target list; what is not there the person chooses.
    /// @param choose  shows the list; gives the chosen file as written, or nothing
    bool AutoDetectTarget(const std::function<QString()>& choose);
    void SetTargetConfigPath(const QString& name);
    void ReadTargetAddress(const QString& file);
    /// The target's own settings count from now on.
    void TargetChosen();

    /// Takes another adapter, closing the one in use; views must be closed before. Empty: as the settings
    /// say.
    void UseAdapter(const QString& device);
    [[nodiscard]] const AdapterSettings& Adapter() const { return m_adapter; }
    [[nodiscard]] bool AdapterOpen() const { return m_open; }
    [[nodiscard]] QString AdapterProblem() const; ///< plain words; empty when it is open
    [[nodiscard]] bool HasTarget() const
    {
        return !m_state.TargetConfigPath.isEmpty() && m_targetProblem.isEmpty();
    }
    [[nodiscard]] const QString& TargetProblem() const { return m_targetProblem; }
    void CloseAdapter();

    [[nodiscard]] GaugeContext* Context(); ///< nothing while no adapter is open
    [[nodiscard]] frmUSB* Usb();
    [[nodiscard]] GaugeAccess& Access() { return m_access; }
    [[nodiscard]] BusWatch& Watch() { return m_watch; }
    [[nodiscard]] TimeSource& Time() { return m_time; }
    [[nodiscard]] ProfileStore& Profiles() { return m_profiles; }
    [[nodiscard]] const StartupState& State() const { return m_state; }
    [[nodiscard]] const QString& FolderProblem() const { return m_folderProblem; }
    /// Empty, or what is not kept because the program folder cannot be written.
    [[nodiscard]] QString UnkeptText() const;
    void SetFolderProblem(const QString& problem) { m_folderProblem = problem; }
    [[nodiscard]] QString SkinFile(); ///< path of the skin file; empty when the settings name none
    [[nodiscard]] QString SkinName();

private:
    struct Session;
    TimeSource& m_time;
    UserMessages& m_messages;
    ErrorList& m_errors;
    ProfileStore m_profiles;
    StartupState m_state;
    TargetSettings m_target;
    GaugeAccess m_access;
    BusWatch m_watch; ///< outlives the adapters that tell it
    AdapterSettings m_adapter;
    std::unique_ptr<Session> m_session;
    QString m_device; ///< adapter chosen in the window, empty: as the settings say
    QString m_folderProblem;
    QString m_targetProblem;
    bool m_open = false;
};
