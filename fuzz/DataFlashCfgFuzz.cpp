// Any bytes as a data-flash configuration: problems in file order, or a tree that is written and read again
// as the same one.

#include "dataflash/CfgParser.h"

#include <algorithm>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    DataFlashTree tree;
    std::vector<CfgProblem> problems;
    const std::int32_t status = ParseDataFlashCfg(bytes, tree, problems);
    const bool complained = std::ranges::any_of(problems, &CfgProblem::Error);
    if (status != 0) {
        if (!complained || !tree.Classes.empty())
            std::abort();
        return 0;
    }
    DataFlashTree again;
    const QByteArray written = DataFlashCfgBytes(tree);
    if (complained || ParseDataFlashCfg(written, again, problems) != 0 || DataFlashCfgBytes(again) != written)
        std::abort();
    return 0;
}
