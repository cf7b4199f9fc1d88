#pragma once

#include "sbs/TableDocument.h"
#include "sbs/TablePreview.h"

#include <QWidget>

#include <optional>

class FlagLineStrip;
class QLabel;
class QLineEdit;
class QPushButton;

/// Shows what the register view would make of a raw value with the current row of a register or flags table.
/// The raw value is typed, or comes from the gauge.
class TablePreviewPane final : public QWidget {
    Q_OBJECT
public:
    /// @param canRead  whether there is a gauge to ask
    explicit TablePreviewPane(bool canRead, QWidget* parent = nullptr);

    /// @param cells  empty: there is no current row
    /// @param shownRow  what a flags row points at, in words
    void Show(TableKind kind, const QStringList& cells, const QString& shownRow);
    void SetRaw(RawValue raw, const QString& origin); ///< what the gauge has given
    void SetReadProblem(const QString& reason);
    void SetReading(bool on);
    void SetCompact(bool on); ///< the result alone, without how it comes about

signals:
    void ReadNow();

private:
    void Refresh();

    TableKind m_kind = TableKind::Registers;
    QStringList m_cells;
    QString m_shownRow;
    QString m_origin; ///< of the raw value in the field; empty when it was typed
    QString m_problem; ///< of the last read
    bool m_compact = false;

    QLabel* lblPreview;
    QLineEdit* txtRaw;
    QPushButton* cmdReadNow;
    QLabel* lblShown;
    QLabel* lblProblem;
    QLabel* lblSteps;
    FlagLineStrip* m_bits;
};
