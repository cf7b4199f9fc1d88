#pragma once

#include "look/SkinEditor.h"

#include <QDialog>

class QComboBox;
class QLabel;
class QPushButton;
class QSpinBox;
class QTableWidget;
class SkinPreview;
class Theme;

/// Chooses a skin and changes its colours. Every change shows at once in all windows; Cancel brings back what
/// was.
class frmColours final : public QDialog {
    Q_OBJECT
public:
    frmColours(Theme& theme, ProfileStore& profiles, const StartupState& state, QWidget* parent = nullptr);

    void accept() override;
    void reject() override;
    void Applyskin();

private:
    void LayOut();
    void Refresh(); ///< shows what the editor holds
    void ShowNow(); ///< applies the edited skin to all windows
    void ChooseSkin(const QString& name);
    void EditColour(int row);
    void SetWidth(const SkinKey& key, int pixels);
    bool Apply();
    void SaveAs();
    void ShowProblem(const QString& problem);

    Theme& m_theme;
    SkinEditor m_editor;
    Skin m_before; ///< what Cancel brings back
    bool m_filling = false;

    QComboBox* cboSkin;
    QPushButton* cmdSaveAs;
    QLabel* lblSource;
    QTableWidget* grdColours;
    QSpinBox* spnSelected;
    QSpinBox* spnOthers;
    SkinPreview* m_preview;
    QLabel* lblProblem;
    QPushButton* cmdReset;
    QPushButton* cmdCancel;
    QPushButton* cmdApply;
    QPushButton* cmdOK;
};
