#pragma once

#include "flashimage/clsSrecRW.h"

class CommandContext;

/// A flash image as a file gave it, with what was wrong.
struct ReadImage {
    clsSrecFlash Image;
    std::vector<SrecProblem> Problems;
    std::int64_t BadLines = 0;
    QString Error; ///< empty when there was no problem
    bool OfTheFile = false; ///< the problem is not one of single lines: there is no image to go on with
};

/// The first bad line is a message; what concerns the file as a whole is in Error alone.
/// @param maxFill  bytes of filler that one record may add
[[nodiscard]] ReadImage ReadImageFile(CommandContext& context, const QString& path,
                                      std::uint64_t maxFill = clsSrecRW::kMaxFill);
