#pragma once

#include "comm/adapters/AdapterFunnel.h"

/// Passes every call on to another adapter and answers call number failAt (from 1) with a fault instead.
class FaultyAdapter final : public AdapterFunnel {
public:
    FaultyAdapter(Pc61vRW& inner, int failAt, ErrorCode fault)
        : m_inner(inner), m_failAt(failAt), m_fault(fault)
    {
    }
    [[nodiscard]] int Calls() const { return m_calls; }
    [[nodiscard]] AdapterFacts Facts() const override { return m_inner.Facts(); }

private:
    void Perform(DriverCall& call) override
    {
        if (++m_calls == m_failAt)
            AnswerWith(call, m_fault);
        else
            call.On(m_inner);
    }

    Pc61vRW& m_inner;
    int m_failAt;
    ErrorCode m_fault;
    int m_calls = 0;
};
