#pragma once

#include "dataflash/DataFlashModel.h"

#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QTextBrowser>

#include <array>

/// Everything about the current item: what it means and what is known of its value.
class ItemDetailsPane final : public QFrame {
    Q_OBJECT
public:
    explicit ItemDetailsPane(QWidget* parent);
    void Show(const DataFlashTree& tree, const ItemPlace& place);
    void ShowNothing();
    void SetLocked(bool on); ///< no edits while a sequence runs

signals:
    void Revert();
    void SetDefault();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void FitHelp(); ///< as high as its text, so that the facts follow it
    enum Fact { kGauge, kScreen, kDefault, kRange, kType, kBytes, kFormula, kFacts };

    void ShowButtons();

    QLabel* lblItemTitle;
    QLabel* lblItemPath;
    QTextBrowser* txtItemHelp;
    QWidget* m_form;
    std::array<QLabel*, kFacts> m_facts{};
    QPushButton* cmdRevertItem;
    QPushButton* cmdSetDefault;
    bool m_locked = false;
    bool m_edited = false;
    bool m_differs = false;
};
