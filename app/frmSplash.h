#pragma once

#include <QDialog>

class QLabel;
class QPushButton;

/// Name, version and licence: the picture of the first two seconds, and the about box later.
class frmSplash final : public QDialog {
    Q_OBJECT
public:
    explicit frmSplash(QWidget* parent = nullptr); ///< as the start shows it, without a frame and a button
    void ShowAsAboutBox(); ///< waits until it is closed

    void Applyskin();

private:
    QLabel* picLogo;
    QLabel* lblTitle;
    QLabel* lblVersion;
    QPushButton* cmdOK;
};
