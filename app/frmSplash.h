#pragma once

#include <QDialog>

class QLabel;
class QPushButton;

/// Name, version and licence: the picture of the first two seconds, and the about box later.
class frmSplash final : public QDialog {
    Q_OBJECT
public:
    enum class Use { Splash, About };
    explicit frmSplash(Use use, QWidget* parent = nullptr);

    void Applyskin();

private:
    QLabel* picLogo;
    QLabel* lblTitle;
    QLabel* lblVersion;
};
