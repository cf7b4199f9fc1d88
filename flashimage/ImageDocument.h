#pragma once

#include "flashimage/clsSrecFlash.h"
#include "platform/Bytes.h"

#include <QString>

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <utility>
#include <vector>

enum class ImageArea { Data, Program };
[[nodiscard]] QString AreaName(ImageArea area); ///< for people

/// An image that is looked at and edited: its bytes, where it came from, what was edited since it was saved,
/// and the way back.
class ImageDocument {
public:
    /// @param badLines  of the file, whose bytes may be missing in the image; saving it settles that
    void Take(clsSrecFlash image, const QString& path, const QString& name, std::int64_t badLines = 0);

    [[nodiscard]] const clsSrecFlash& Image() const { return m_image; }
    [[nodiscard]] const QString& Path() const { return m_path; } ///< empty: never saved, read from a gauge
    [[nodiscard]] const QString& Name() const { return m_name; } ///< for people
    [[nodiscard]] bool Empty() const { return m_image.DF.Empty() && m_image.PF.Empty(); }
    [[nodiscard]] std::int64_t BadLines() const { return m_badLines; }
    /// SHA-256 of a region as it was last taken or saved, hexadecimal.
    [[nodiscard]] const QString& Hash(ImageArea area) const
    {
        return m_hashes[static_cast<std::size_t>(area)];
    }

    [[nodiscard]] const clsSrecFlash::Region& Region(ImageArea area) const
    {
        return area == ImageArea::Data ? m_image.DF : m_image.PF;
    }
    [[nodiscard]] std::optional<std::uint8_t> ByteAt(ImageArea area, std::uint32_t address) const;

    /// Where a byte is; a data flash may reach past the first address of the instruction flash.
    struct Place {
        ImageArea Area;
        std::uint32_t Address;
        // the check takes the 0 of the generated comparison for a pointer
        auto operator<=>(const Place&) const = default; // NOLINT(modernize-use-nullptr)
    };
    /// Nothing happens where the image has no byte.
    void SetByte(Place place, std::uint8_t value);
    /// @return what changed
    std::optional<Place> Undo();
    std::optional<Place> Redo();
    [[nodiscard]] bool CanUndo() const { return m_next > 0; }
    [[nodiscard]] bool CanRedo() const { return m_next < m_edits.size(); }
    [[nodiscard]] bool EditedAt(Place place) const { return m_saved.contains(place); }
    [[nodiscard]] std::size_t EditedCount() const
    {
        return m_saved.size();
    } ///< bytes that differ from what was saved

    void SetMode(std::int16_t mode) { m_image.PFMode = mode; }
    void Saved(const QString& path);

private:
    struct Edit {
        Place At;
        std::uint8_t Old;
        std::uint8_t New;
    };
    void Put(Place place, std::uint8_t value);
    void ComputeHashes();

    clsSrecFlash m_image;
    QString m_path;
    QString m_name;
    std::int64_t m_badLines = 0;
    std::array<QString, 2> m_hashes;
    std::vector<Edit> m_edits;
    std::size_t m_next = 0; ///< edits before it are done
    std::map<Place, std::uint8_t> m_saved; ///< what edited bytes were when last saved
};

/// What to look for: pairs of hexadecimal digits are bytes, anything else is text; quotes around it make it
/// text in any case.
[[nodiscard]] Bytes SearchBytes(const QString& text);
/// @param from  counted within the region: the first place looked at, backwards the one behind it
[[nodiscard]] std::optional<std::size_t> FindBytes(std::span<const std::uint8_t> region, const Bytes& what,
                                                   std::size_t from, bool forward);
