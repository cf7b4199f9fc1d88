#pragma once

#include "flashimage/ImageDiff.h"
#include "flashimage/ImageDocument.h"

#include <QAbstractTableModel>

#include <vector>

/// A difference of two images: a range of one region.
struct Difference {
    ImageArea Area = ImageArea::Data;
    DiffRange Range;
};

/// The list of differences: number, address, bytes, what either image has, region.
class DifferenceModel final : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { kNumber, kAddress, kBytes, kFirst, kSecond, kRegion, kColumns };

    using QAbstractTableModel::QAbstractTableModel;
    void Show(const ImageDocument* first, const ImageDocument* second);
    void Clear();
    /// The bytes of one address changed: ranges are found anew.
    void Refresh() { Show(m_first, m_second); }

    [[nodiscard]] const std::vector<Difference>& All() const { return m_all; }
    [[nodiscard]] std::vector<DiffRange> Of(ImageArea area) const;
    [[nodiscard]] std::uint64_t Count() const { return m_count; } ///< those that are not kept included
    [[nodiscard]] std::uint64_t Bytes() const { return m_bytes; }
    /// The first behind a place, or the last before it; goes round at the ends.
    /// @return its row; -1 without any
    [[nodiscard]] int Next(ImageDocument::Place from, bool forward) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    [[nodiscard]] QString BytesOf(const ImageDocument& document, const Difference& difference) const;

    const ImageDocument* m_first = nullptr;
    const ImageDocument* m_second = nullptr;
    std::vector<Difference> m_all;
    std::uint64_t m_count = 0;
    std::uint64_t m_bytes = 0;
};
