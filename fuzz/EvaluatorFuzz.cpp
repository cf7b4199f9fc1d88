#include "platform/Evaluator.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

// A result is finite; an error has its place within the text or right behind it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const Evaluated result = Evaluate(text);
    const bool placed = result.column >= 1 && result.column <= text.size() + 1 && result.value == 0;
    if (result.Ok() ? !std::isfinite(result.value) : !placed)
        std::abort();
    return 0;
}
