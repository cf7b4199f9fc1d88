#pragma once

#include "sbs/RegisterDelegate.h"
#include "sbs/RegisterModel.h"

#include <QSortFilterProxyModel>
#include <QTableView>

#include <vector>

/// The grid of register rows: filter, switches by keyboard, copy, optional columns. Rows stand in table
/// order.
class RegisterGrid final : public QTableView {
    Q_OBJECT
public:
    RegisterGrid(RegisterModel& model, QWidget* parent = nullptr);

    void Filter(const QString& text); ///< shows rows whose description or unit holds the text
    void ShowStatistics(bool min, bool max, bool age);
    void SetRoomy(bool roomy);
    /// Rows of the model: the selected ones, else all that the filter lets through.
    [[nodiscard]] std::vector<int> SelectedRows() const;
    [[nodiscard]] RegisterDelegate& Delegate() { return *m_delegate; }

signals:
    void CopyRequested(QChar separator);
    void Refused(const QString& why); ///< an edit of a row that cannot be written

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void Toggle(int column);

    RegisterModel& m_model;
    QSortFilterProxyModel* m_filter;
    RegisterDelegate* m_delegate;
};
