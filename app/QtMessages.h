#pragma once

#include "platform/UserMessages.h"

#include <QWidget>

#include <functional>

/// Messages of the window program. What is only told goes to the one error window, which is not modal and
/// never stacked, so nothing waits for a click while the bus is held; questions are boxes, asked only while
/// it is free.
class QtMessages final : public UserMessages {
public:
    explicit QtMessages(std::function<void(const QString&)> show) : m_show(std::move(show)) { }
    void SetParent(QWidget* parent) { m_parent = parent; }
    void Show(const QString& text) override { m_show(text); }
    Answer Ask(const QString& text, Answers offered) override;
    Answer Choose(const QString& text, const std::vector<Choice>& choices) override;

private:
    std::function<void(const QString&)> m_show;
    QWidget* m_parent = nullptr;
};
