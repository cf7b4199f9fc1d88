#pragma once

#include <QDialog>

/// What the marks in grids mean, drawn as they are drawn there. Stays open beside the work.
class frmLegend final : public QDialog {
    Q_OBJECT
public:
    explicit frmLegend(QWidget* parent = nullptr);
    void Applyskin();
};
