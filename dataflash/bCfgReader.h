#pragma once

#include <QString>

#include <cstdint>
#include <memory>
#include <vector>

/// Where a configuration is wrong, counting from 1; 0 when no place can be named.
struct CfgProblem {
    int Line = 0;
    int Column = 0;
    QString Text;
    bool Error = true; ///< false: the file loads all the same

    /// "file, line 3, column 7: text"; a warning says that it is one.
    [[nodiscard]] QString InWords(const QString& file) const;
};

/// Reads data-flash configurations (TOML, docs/dataflash-config.md) and answers their classes, subclasses and
/// items. Indices count from 0 in file order; a wrong index gives an empty text, 0 or false. Texts longer
/// than 511 characters come cut to 511, as the 512-character buffers of its callers hold no more.
class bCfgReader {
public:
    bCfgReader();
    ~bCfgReader();
    bCfgReader(const bCfgReader&) = delete;
    bCfgReader& operator=(const bCfgReader&) = delete;

    /// @return 0; 1 the file cannot be read; 2 it is no TOML; 3 it is no sound configuration. Problems() has
    /// it
    ///         in words; a file that fails leaves nothing loaded.
    std::int32_t LoadCfgFile(const QString& path);
    std::int32_t UnloadCfgFile(); ///< @return 0, or 1 when nothing was loaded
    [[nodiscard]] const std::vector<CfgProblem>& Problems() const; ///< of the last load, in file order

    [[nodiscard]] std::int32_t GetNumClasses() const;
    std::int32_t GetClass(std::int32_t classIndex, QString& name) const;
    [[nodiscard]] std::int32_t GetNumSubClasses(std::int32_t classIndex) const;
    std::int32_t GetNextSubClass(std::int32_t classIndex, std::int32_t subClassIndex, std::int32_t& id,
                                 QString& name) const;
    /// Bytes of the subclass: as the file states, else up to its last item's end.
    [[nodiscard]] std::int32_t GetSubClassLength(std::int32_t classIndex, std::int32_t subClassIndex) const;
    [[nodiscard]] std::int32_t GetNumData(std::int32_t classIndex, std::int32_t subClassIndex) const;

    // @return 0, or 1 for a wrong index
    using Index = std::int32_t;
    std::int32_t GetName(Index classIndex, Index subClassIndex, Index item, QString& text) const;
    std::int32_t GetFullName(Index classIndex, Index subClassIndex, Index item, QString& text) const;
    std::int32_t GetDataType(Index classIndex, Index subClassIndex, Index item, QString& text) const;
    std::int32_t GetValue(Index classIndex, Index subClassIndex, Index item, QString& text) const;
    std::int32_t GetDefValue(Index classIndex, Index subClassIndex, Index item, QString& text) const;
    std::int32_t GetReadFormula(Index classIndex, Index subClassIndex, Index item, QString& text) const;
    std::int32_t GetWriteFormula(Index classIndex, Index subClassIndex, Index item, QString& text) const;
    std::int32_t GetDisplayFmt(Index classIndex, Index subClassIndex, Index item, QString& text) const;
    std::int32_t GetUnits(Index classIndex, Index subClassIndex, Index item, QString& text) const;
    std::int32_t GetMinVal(Index classIndex, Index subClassIndex, Index item, QString& text) const;
    std::int32_t GetMaxVal(Index classIndex, Index subClassIndex, Index item, QString& text) const;
    std::int32_t GetHelpText(Index classIndex, Index subClassIndex, Index item, QString& text) const;
    [[nodiscard]] std::int32_t GetOffset(Index classIndex, Index subClassIndex, Index item) const;
    [[nodiscard]] bool IsPrivate(Index classIndex, Index subClassIndex, Index item) const;

    std::int32_t GetLegacyString(QString& text, std::int32_t most) const;
    void GetTarget(QString& text) const;
    void ShowErrorMsgs(std::int32_t on); ///< 0: problems are not shown, only kept
    std::int32_t WriteBcfgFile(const QString& path) const; ///< @return 0, or 1 when it cannot be saved
    std::int32_t AutoGenerateOffsets(); ///< packs every subclass's items one behind the other

private:
    struct Configuration;
    std::unique_ptr<Configuration> m_loaded;
    std::vector<CfgProblem> m_problems;
};
