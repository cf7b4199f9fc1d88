#pragma once

#include "platform/UserMessages.h"

/// Nobody is told and nobody is asked: for callers that learn what happened from the result.
class NoMessages final : public UserMessages {
public:
    void Show(const QString& /*text*/) override { }
    Answer Ask(const QString& /*text*/, Answers /*offered*/) override { return Answer::No; }
};
