#pragma once

#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>

#include <functional>

/// One notice in place: what happened, what it means for the data, and at most one thing to do about it.
class NoticeBar final : public QFrame {
    Q_OBJECT
public:
    enum class Kind { Note, Good, Caution, Failed };

    explicit NoticeBar(QWidget* parent);
    /// @param verb  on the button; empty: no button
    void Show(Kind kind, const QString& text, const QString& verb = {}, std::function<void()> act = {});
    void Clear();
    [[nodiscard]] QString Text() const { return lblNotice->text(); }

private:
    void Paint();

    Kind m_kind = Kind::Note;
    std::function<void()> m_act;
    QLabel* m_icon;
    QLabel* lblNotice;
    QPushButton* cmdNoticeAct;
    QToolButton* cmdNoticeClose;
};
