#include "comm/BusTurn.h"

#include <QDeadlineTimer>

namespace {

QDeadlineTimer g_until(0);

} // namespace

void BusTurn::Ask() { g_until.setRemainingTime(kGapMs); }

bool BusTurn::Asked() { return !g_until.hasExpired(); }
