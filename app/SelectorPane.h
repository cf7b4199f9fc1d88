#pragma once

#include "settings/TargetInfo.h"

#include <QAbstractButton>
#include <QFrame>
#include <QLabel>
#include <QProgressBar>
#include <QScrollArea>
#include <QVBoxLayout>

#include <vector>

/// The column at the left edge: one button a view, and the remaining capacity at its foot.
class SelectorPane final : public QFrame {
    Q_OBJECT
public:
    explicit SelectorPane(QWidget* parent = nullptr);

    void Clear();
    /// Where the icons of plug-ins lie, for buttons loaded from now on.
    void SetPluginFolders(const QStringList& folders) { m_pluginFolders = folders; }
    void LoadMDIButton(int index, const ViewButton& button);
    [[nodiscard]] int Count() const { return static_cast<int>(m_buttons.size()); }
    [[nodiscard]] const ViewButton& Button(int index) const
    {
        return m_buttons[static_cast<std::size_t>(index)].button;
    }
    void SetCaption(int index, const QString& caption); ///< beyond the list: nothing
    void Select(int index); ///< draws one highlighted and the others plain; -1: none
    void SetRemCap(std::int16_t value);
    void SetCompact(bool icons); ///< icons alone, captions as tooltips
    void Applyskin();

signals:
    void Chosen(int index);

private:
    void FitWidth(); ///< a scroll bar stands beside the buttons
    struct Entry {
        ViewButton button;
        QAbstractButton* widget;
    };
    std::vector<Entry> m_buttons;
    QStringList m_pluginFolders;
    int m_selected = -1;
    bool m_compact = false;

    QScrollArea* FrameButtonView;
    QWidget* FrameMDIButtons;
    QVBoxLayout* m_column;
    QFrame* FrameRemCap;
    QLabel* lblStatic;
    QLabel* lblRemCap;
    QProgressBar* pbRemCap;
};

/// What the remaining-capacity group shows for a value: below 0 and above 100 it shows 100.
[[nodiscard]] constexpr int ShownRemCap(std::int16_t value)
{
    // a negative value shows as full, on purpose: people know the sign of a gauge that is not set up yet
    return value > 100 || value < 0 ? 100 : value;
}
