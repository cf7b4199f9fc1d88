#pragma once

#include <QFrame>
#include <QLabel>
#include <QPushButton>

/// How far one of the three things is that make the program ready.
struct Readiness {
    enum class Mark { Good, Failed, Open };
    Mark mark = Mark::Open;
    QString text; ///< what is so, why, and what helps; one to three lines
};

/// The page over the empty main area: what is missing and the next step. Stands there as long as no view is
/// open.
class EmptyPage final : public QWidget {
    Q_OBJECT
public:
    explicit EmptyPage(QWidget* parent = nullptr);

    /// @param ready  all three are in order, only no view is open
    void Show(const Readiness& settings, const Readiness& adapter, const Readiness& target, bool simulated);
    void Applyskin();

signals:
    void TryAgain();
    void ChooseAdapter();
    void ShowErrorLog();
    void ChooseTarget();
    void UseSimulatedPack();
    void OpenRegisterLog();

private:
    struct Line {
        QLabel* icon;
        QLabel* title;
        QLabel* text;
        QString iconName;
        Readiness state;
    };
    Line AddLine(class QVBoxLayout* column, const QString& icon, const QString& title,
                 const QString& textName, std::initializer_list<QPushButton*> buttons);
    void Draw(Line& line);

    QFrame* m_card;
    QLabel* lblEmptyTitle;
    QLabel* lblEmptyText;
    QPushButton* cmdTryAgain;
    QPushButton* cmdChooseAdapter;
    QPushButton* cmdShowErrorLog;
    QPushButton* cmdChooseTarget;
    QPushButton* cmdOpenLog;
    QPushButton* cmdUseSimulated;
    QWidget* m_simulated;
    QLabel* m_simulatedIcon;
    Line m_settings, m_adapter, m_target;
};
