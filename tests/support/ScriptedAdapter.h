#pragma once

#include "comm/adapters/Trace.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <optional>

/// Keeps every call as text, "AdpReadSMBusWord [9,22]" with what the caller gave, and answers from a list.
class ScriptedAdapter final : public AdapterFunnel {
public:
    /// The answer to the next call that has none yet. Calls past the list succeed and write nothing.
    /// @param out  what the driver writes, in call order; may stop short
    void Will(std::int32_t result, const QJsonArray& out = {}) { m_replies.push_back({result, out}); }
    void Will(ErrorCode result, const QJsonArray& out = {}) { Will(Number(result), out); }
    [[nodiscard]] AdapterFacts Facts() const override { return facts; }

    QStringList calls;
    AdapterFacts facts;
    std::function<void()> onCall; ///< runs inside every call, as events do

private:
    struct Reply {
        std::int32_t result = 0;
        QJsonArray out;
    };

    void Perform(DriverCall& call) override
    {
        calls << ShownCall(EntryOf(call));
        const std::optional<Reply> reply
            = m_replies.empty() ? std::nullopt : std::optional(m_replies.front());
        if (reply)
            m_replies.pop_front();
        if (const auto handler = onCall) // a copy: the handler may take itself away
            handler();
        if (!reply)
            return;
        TraceEntry answer;
        KeepAnswer(call, answer);
        answer.Result = reply->result;
        ASSERT_LE(reply->out.size(), answer.Out.size()) << call.Name;
        for (qsizetype i = 0; i < reply->out.size(); ++i)
            answer.Out[i] = reply->out[i];
        EXPECT_EQ(GiveAnswer(answer, call), QString()) << call.Name;
    }

    std::deque<Reply> m_replies;
};
