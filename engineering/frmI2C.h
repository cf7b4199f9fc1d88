#pragma once

#include "comm/GaugeContext.h"
#include "engineering/BusScan.h"
#include "engineering/EepromTransfer.h"
#include "engineering/TransactionFields.h"
#include "look/ChildView.h"

#include <QVBoxLayout>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;
class QSpinBox;
class QSplitter;
class QTableWidget;
class QTabWidget;

/// The parts on the I2C side of the adapter: who is there, single transfers, and EEPROMs to and from files.
class frmI2C final : public ChildView {
    Q_OBJECT
public:
    explicit frmI2C(GaugeContext& context);
    ~frmI2C() override;

    void Applyskin() override;
    bool Busy() const override { return m_running; }
    void Abandon() override { m_cancelled = true; }

    // What the buttons do once a file was chosen.
    void DumpTo(const QString& path);
    void LoadFrom(const QString& path);
    void VerifyWith(const QString& path);

protected:
    void resizeEvent(QResizeEvent* event) override;
    bool Leave() override;

private:
    void LayOut();
    QWidget* MakeScanPane();
    QWidget* MakeWorkPane();
    QGroupBox* MakeTransferBox();
    QGroupBox* MakeEepromBox();
    void Fold(bool narrow);

    void AskScan();
    void Scan(bool risky);
    void ShowScanned(const ScannedAddress& scanned);
    void UseAddress(std::int16_t address);
    void Transfer(TransactionKind kind);
    void SendTransfer(const Transaction& transaction);
    void AskFile(const QString& title, bool save, void (frmI2C::*act)(const QString&));
    [[nodiscard]] bool ReadFile(const QString& path, Bytes& bytes); ///< false after a word on why not
    [[nodiscard]] bool Part(EepromPart& part);
    void RunEeprom(const std::function<EepromResult(EepromTransfer&, const EepromTransfer::Progress&)>& work,
                   const std::function<void(const EepromResult&)>& done);
    void WhenFree(std::function<void()> act);

    void SetRunning(bool running);
    bool ShowProgress(int done, int of, const QString& what); ///< @return false when it was cancelled
    void ShowState(const QString& text, bool failed);
    void ShowBytes(const Bytes& bytes, const QString& from, std::size_t first = 0);
    void Refuse(QLineEdit* field, const QString& problem);

    GaugeContext& m_context;
    bool m_running = false;
    bool m_cancelled = false;
    bool m_narrow = false;

    QPushButton* cmdScan;
    QPushButton* cmdCancelI2C;
    QCheckBox* chkRisky;
    QTableWidget* grdScan;
    QTableWidget* grdFound;
    QLineEdit* txtI2CAddress;
    QLineEdit* txtRegister;
    QSpinBox* spnLength;
    QLineEdit* txtBytes;
    QPushButton* cmdReadI2C;
    QPushButton* cmdWriteI2C;
    QLineEdit* txtEepromAddress;
    QComboBox* cboSize;
    QComboBox* cboPage;
    QSpinBox* spnWriteMs;
    QPushButton* cmdDump;
    QPushButton* cmdLoad;
    QPushButton* cmdVerify;
    QProgressBar* pbI2C;
    QLabel* lblI2CState;
    QLabel* lblDump;
    QPlainTextEdit* txtDump;
    QWidget* m_scanPane = nullptr;
    QWidget* m_workPane = nullptr;
    QSplitter* m_across;
    QTabWidget* m_tabs;
};
