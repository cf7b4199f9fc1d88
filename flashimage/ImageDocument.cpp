#include "flashimage/ImageDocument.h"

#include "platform/Sha256.h"

#include <QFileInfo>

#include <algorithm>

QString AreaName(ImageArea area)
{
    return area == ImageArea::Data ? QStringLiteral("Data flash") : QStringLiteral("Instruction flash");
}

void ImageDocument::Take(clsSrecFlash image, const QString& path, const QString& name, std::int64_t badLines)
{
    m_image = std::move(image);
    m_path = path;
    m_name = name;
    m_badLines = badLines;
    m_edits.clear();
    m_next = 0;
    m_saved.clear();
    ComputeHashes();
}

std::optional<std::uint8_t> ImageDocument::ByteAt(ImageArea area, std::uint32_t address) const
{
    const clsSrecFlash::Region& region = Region(area);
    if (address < region.Start() || address - region.Start() >= region.Size())
        return std::nullopt;
    return region.View()[address - region.Start()];
}

void ImageDocument::Put(Place place, std::uint8_t value)
{
    clsSrecFlash::Region& region = place.Area == ImageArea::Data ? m_image.DF : m_image.PF;
    std::uint8_t& byte = region.View()[place.Address - region.Start()];
    const std::uint8_t saved = m_saved.try_emplace(place, byte).first->second;
    byte = value;
    if (value == saved)
        m_saved.erase(place);
}

void ImageDocument::SetByte(Place place, std::uint8_t value)
{
    const std::optional<std::uint8_t> old = ByteAt(place.Area, place.Address);
    if (!old || *old == value)
        return;
    m_edits.erase(m_edits.begin() + static_cast<std::ptrdiff_t>(m_next), m_edits.end());
    m_edits.push_back({place, *old, value});
    ++m_next;
    Put(place, value);
}

std::optional<ImageDocument::Place> ImageDocument::Undo()
{
    if (!CanUndo())
        return std::nullopt;
    const Edit& edit = m_edits[--m_next];
    Put(edit.At, edit.Old);
    return edit.At;
}

std::optional<ImageDocument::Place> ImageDocument::Redo()
{
    if (!CanRedo())
        return std::nullopt;
    const Edit& edit = m_edits[m_next++];
    Put(edit.At, edit.New);
    return edit.At;
}

void ImageDocument::Saved(const QString& path)
{
    m_path = path;
    m_name = QFileInfo(path).fileName();
    m_badLines = 0;
    m_saved.clear();
    ComputeHashes();
}

void ImageDocument::ComputeHashes()
{
    for (const ImageArea area : {ImageArea::Data, ImageArea::Program})
        m_hashes[static_cast<std::size_t>(area)] = QString::fromLatin1(Sha256(Region(area).View()).toHex());
}

Bytes SearchBytes(const QString& text)
{
    const bool quoted
        = text.size() >= 2 && text.startsWith(QLatin1Char('"')) && text.endsWith(QLatin1Char('"'));
    if (!quoted)
        if (const std::optional<Bytes> bytes = ParseHex(text); bytes && !bytes->empty())
            return *bytes;
    const QByteArray latin = (quoted ? text.sliced(1).chopped(1) : text).toLatin1();
    return {latin.begin(), latin.end()};
}

std::optional<std::size_t> FindBytes(std::span<const std::uint8_t> region, const Bytes& what,
                                     std::size_t from, bool forward)
{
    if (what.empty() || what.size() > region.size())
        return std::nullopt;
    const auto begin = region.begin();
    const auto start = begin + static_cast<std::ptrdiff_t>(std::min(from, region.size()));
    auto found = region.end();
    if (forward) {
        found = std::search(start, region.end(), what.begin(), what.end());
    } else { // a match that begins before
        const auto rest = static_cast<std::size_t>(region.end() - start);
        const auto end = start + static_cast<std::ptrdiff_t>(std::min(rest, what.size() - 1));
        found = std::find_end(begin, end, what.begin(), what.end());
        if (found == end)
            found = region.end();
    }
    return found == region.end() ? std::nullopt : std::optional(static_cast<std::size_t>(found - begin));
}
