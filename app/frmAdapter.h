#pragma once

#include "comm/adapters/Pc61vRW.h"

#include <QCheckBox>
#include <QDialog>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>

#include <functional>
#include <vector>

/// Choice of the adapter: what is plugged in, and the simulated pack apart from it.
class frmAdapter final : public QDialog {
    Q_OBJECT
public:
    /// @param list  looks what is there now
    frmAdapter(std::function<std::vector<AdapterFacts>()> list, const QString& present, QWidget* parent);

    [[nodiscard]] QString Device() const; ///< as the settings take it: "sim", "i2c:/dev/i2c-1", "auto"
    [[nodiscard]] bool Remember() const { return chkRemember->isChecked(); }

private:
    void Fill();

    std::function<std::vector<AdapterFacts>()> m_list;
    QString m_present;
    QListWidget* lstAdapters;
    QLabel* lblAdapterHelp;
    QCheckBox* chkRemember;
    QPushButton* cmdOK;
};
