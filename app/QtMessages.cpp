#include "app/QtMessages.h"

#include "comm/GaugeAccess.h"

#include <QMessageBox>
#include <QPushButton>

#include <array>
#include <utility>

namespace {

constexpr std::array kButtons{
    std::pair{Answer::Yes, QMessageBox::Yes},     std::pair{Answer::No, QMessageBox::No},
    std::pair{Answer::Retry, QMessageBox::Retry}, std::pair{Answer::Ignore, QMessageBox::Ignore},
    std::pair{Answer::Abort, QMessageBox::Abort}, std::pair{Answer::Cancel, QMessageBox::Cancel},
    std::pair{Answer::Ok, QMessageBox::Ok},
};

/// The answer that changes nothing, of those offered.
Answer Harmless(Answers offered)
{
    for (const Answer answer : {Answer::No, Answer::Cancel, Answer::Ignore, Answer::Abort})
        if (offered.testFlag(answer))
            return answer;
    return Answer::Ok;
}

} // namespace

Answer QtMessages::Ask(const QString& text, Answers offered)
{
    if (GaugeAccess::Held()) { // a box would keep the bus for as long as nobody clicks
        m_show(text);
        return Harmless(offered);
    }
    QMessageBox box(QMessageBox::Question, QStringLiteral("Tarnlo"), text, QMessageBox::NoButton, m_parent);
    for (const auto& [answer, button] : kButtons)
        if (offered.testFlag(answer))
            box.addButton(button);
    const int clicked = box.exec();
    for (const auto& [answer, button] : kButtons)
        if (clicked == button)
            return answer;
    return Harmless(offered);
}

Answer QtMessages::Choose(const QString& text, const std::vector<Choice>& choices)
{
    Answers offered;
    for (const Choice& choice : choices)
        offered |= choice.Means;
    if (GaugeAccess::Held()) {
        m_show(text);
        return Harmless(offered);
    }
    QMessageBox box(QMessageBox::Question, QStringLiteral("Tarnlo"), text, QMessageBox::NoButton, m_parent);
    std::vector<std::pair<QAbstractButton*, Answer>> buttons;
    for (const Choice& choice : choices) {
        const bool leaves = choice.Means == Harmless(offered);
        QPushButton* button
            = box.addButton(choice.Verb, leaves ? QMessageBox::RejectRole : QMessageBox::AcceptRole);
        if (leaves) { // Enter and Esc lose nothing
            box.setDefaultButton(button);
            box.setEscapeButton(button);
        }
        buttons.emplace_back(button, choice.Means);
    }
    box.exec();
    for (const auto& [button, answer] : buttons)
        if (box.clickedButton() == button)
            return answer;
    return Harmless(offered);
}
