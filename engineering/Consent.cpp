#include "engineering/Consent.h"

Consent& Consent::OfThisRun()
{
    static Consent consent;
    return consent;
}
