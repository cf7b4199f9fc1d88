#pragma once

#include "dataflash/DataFlashModel.h"
#include "dataflash/bCfgReader.h"

#include <QByteArray>

#include <cstdint>
#include <vector>

/// Reads a data-flash configuration from the bytes of its file; docs/dataflash-config.md has the form.
/// Buffers get the lengths of their subclasses, default values and limits the spelling that their bytes
/// decode to.
/// @param problems  errors and warnings in file order, at most 1000
/// @return 0; 2 it is no TOML; 3 it is no sound configuration. The tree is then as it was.
[[nodiscard]] std::int32_t ParseDataFlashCfg(const QByteArray& bytes, DataFlashTree& tree,
                                             std::vector<CfgProblem>& problems);

/// The configuration as a file's bytes, comments lost.
[[nodiscard]] QByteArray DataFlashCfgBytes(const DataFlashTree& tree);
