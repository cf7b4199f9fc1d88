#pragma once

#include "flashimage/FlashProgrammer.h"
#include "platform/ProfileFile.h"
#include "platform/UserMessages.h"
#include "settings/StartupState.h"

#include <functional>
#include <vector>

/// What is needed around a flash run: who is on the bus and in which mode, the flash targets of Srec.tgt, and
/// the settings of the one that is chosen.
class FlashDesk {
public:
    /// Reads Srec.tgt. @return empty, or why it could not be read
    using LoadTargets = std::function<QString(const QString& path, std::vector<FlashTarget>& targets)>;

    FlashDesk(ProfileStore& profiles, const StartupState& state, UserMessages& messages, frmUSB& usb,
              GaugeAccess& access, TimeSource& time, LoadTargets loadTargets);

    /// Asks mode and identity anew and chooses the flash target that goes with them, unless one was chosen by
    /// hand.
    void Look();
    /// Asks the mode alone; short.
    GaugeMode LookAtMode();
    void Choose(int target); ///< by hand; -1: as found
    [[nodiscard]] GaugeMode Mode() const { return m_mode; }
    [[nodiscard]] bool CanFlash() const
    {
        return m_modeError != ErrorCode::IncorrectParam;
    } ///< the adapter can
    [[nodiscard]] ErrorCode ModeError() const { return m_modeError; }
    [[nodiscard]] const std::vector<FlashTarget>& Targets() const { return m_targets; }
    [[nodiscard]] int Chosen() const { return m_chosen; }
    [[nodiscard]] const FlashTarget* Target() const;
    [[nodiscard]] const QString& TargetsProblem() const { return m_targetsProblem; }
    [[nodiscard]] const FlashSubject& Subject() const { return m_subject; }
    [[nodiscard]] const TargetSettings& Settings() const { return m_settings; }

    [[nodiscard]] std::vector<FlashFinding> Check(const clsSrecFlash& image,
                                                  const FlashOptions& options) const;
    [[nodiscard]] FlashPlan Plan(const clsSrecFlash& image, const FlashOptions& options) const;
    /// Set up for the chosen target.
    FlashProgrammer& Programmer();
    /// Reads the gauge's flash; the image then says of which gauge it is.
    FlashOutcome Read(clsSrecFlash& image);

private:
    void ReadAccepted();
    void LoadSettings();

    ProfileStore& m_profiles;
    const StartupState& m_state;
    UserMessages& m_messages;
    frmUSB& m_usb;
    GaugeAccess& m_access;
    LoadTargets m_loadTargets;
    FlashProgrammer m_programmer;
    std::vector<FlashTarget> m_targets;
    QString m_targetsProblem;
    FlashSubject m_subject;
    TargetSettings m_settings;
    GaugeMode m_mode = GaugeMode::Unknown;
    ErrorCode m_modeError = ErrorCode::Ok;
    int m_chosen = -1;
    bool m_byHand = false;
};

/// Srec.ini of the program folder: what the flash view remembers.
struct FlashMemory {
    bool Verify = true;
    QString Folder; ///< of the image opened last
};
[[nodiscard]] FlashMemory ReadFlashMemory(ProfileStore& profiles, const StartupState& state);
/// @return empty, or what went wrong
[[nodiscard]] QString WriteFlashMemory(ProfileStore& profiles, const StartupState& state,
                                       const FlashMemory& memory);
