#include "comm/frmErrMsg.h"

#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"

#include <QAbstractListModel>
#include <QApplication>
#include <QBoxLayout>
#include <QCheckBox>
#include <QClipboard>
#include <QFrame>
#include <QLabel>
#include <QListView>
#include <QPainter>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <QTimer>

namespace {

constexpr int kRefreshMs = 500;
constexpr int kRow = 22;
constexpr int kCountRole = Qt::UserRole;

QString EntryText(const ErrorEntry& entry)
{
    return entry.Last.toString(QStringLiteral("yyyy-MM-dd hh:mm:ss")) + QStringLiteral(" : ") + entry.Text;
}

QString Times(std::uint64_t count) { return QStringLiteral("%1 times").arg(count); }

/// Newest first, straight from the list of the run.
class ErrorModel final : public QAbstractListModel {
public:
    ErrorModel(const ErrorList& errors, QObject* parent) : QAbstractListModel(parent), m_errors(errors) { }

    void Refresh()
    {
        beginResetModel();
        m_rows = static_cast<int>(m_errors.Entries().size());
        endResetModel();
    }
    int rowCount(const QModelIndex& parent) const override { return parent.isValid() ? 0 : m_rows; }
    QVariant data(const QModelIndex& index, int role) const override
    {
        const auto& entries = m_errors.Entries();
        const auto fromEnd = static_cast<std::size_t>(index.row()) + 1;
        if (fromEnd > entries.size()) // cleared since the last refresh
            return {};
        const ErrorEntry& entry = entries[entries.size() - fromEnd];
        switch (role) {
        case Qt::DisplayRole:
            return EntryText(entry).simplified();
        case Qt::ToolTipRole:
            return entry.Text;
        case Qt::AccessibleTextRole:
            return entry.Count > 1 ? EntryText(entry) + QStringLiteral(", ") + Times(entry.Count)
                                   : EntryText(entry);
        case Qt::SizeHintRole:
            return QSize(0, kRow);
        case kCountRole:
            return QVariant::fromValue(entry.Count);
        default:
            return {};
        }
    }

private:
    const ErrorList& m_errors;
    int m_rows = 0;
};

/// Puts "3 times" at the right end of a line and keeps the text clear of it.
class CountDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::paint(painter, option, index);
        const auto count = index.data(kCountRole).value<std::uint64_t>();
        if (count < 2)
            return;
        const QRect place = option.rect.adjusted(0, 0, -8, 0);
        const bool selected = option.state & QStyle::State_Selected;
        const QRect text
            = option.fontMetrics.boundingRect(place, Qt::AlignRight | Qt::AlignVCenter, Times(count));
        const auto fill = selected                                ? QPalette::Highlight
            : (option.features & QStyleOptionViewItem::Alternate) ? QPalette::AlternateBase
                                                                  : QPalette::Base;
        painter->fillRect(text.adjusted(-8, 0, 0, 0), option.palette.brush(fill));
        painter->setPen(
            option.palette.color(selected ? QPalette::HighlightedText : QPalette::PlaceholderText));
        painter->drawText(place, Qt::AlignRight | Qt::AlignVCenter, Times(count));
    }
};

} // namespace

frmErrMsg::frmErrMsg(ErrorList& errors, QWidget* parent)
    : QDialog(parent), m_errors(errors), picError(new QLabel(this)),
      lblMsg(Named(new QLabel(this), "lblMsg")), lblDetail(Named(new QLabel(this), "lblDetail")),
      lstErr(Named(new QListView(this), "lstErr")), m_model(new ErrorModel(errors, this)),
      frameButtons(Named(new QFrame(this), "frameButtons")),
      chkAdv(Named(new QCheckBox(tr("&Advanced"), frameButtons), "chkAdv")),
      lblCount(Named(new QLabel(frameButtons), "lblCount")),
      cmdCopy(
          Named(new QPushButton(ThemeIcon(QStringLiteral("copy")), tr("&Copy"), frameButtons), "cmdCopy")),
      cmdOK(Named(new QPushButton(tr("OK"), frameButtons), "cmdOK")),
      tmrRefresh(Named(new QTimer(this), "tmrRefresh"))
{
    setObjectName(QStringLiteral("frmErrMsg"));
    setWindowTitle(tr("Tarnlo - Error"));
    setModal(false);
    setAttribute(Qt::WA_ShowWithoutActivating);
    LayOut();

    connect(chkAdv, &QCheckBox::toggled, this, &frmErrMsg::ShowAdvanced);
    connect(cmdCopy, &QPushButton::clicked, this, &frmErrMsg::CopyAll);
    connect(cmdOK, &QPushButton::clicked, this, &QDialog::accept);
    connect(tmrRefresh, &QTimer::timeout, this, &frmErrMsg::Refresh);
    connect(this, &QDialog::finished, tmrRefresh, &QTimer::stop);
    connect(&Theme::Current(), &Theme::Changed, this, &frmErrMsg::Applyskin);
    ShowAdvanced(false);
    Applyskin();
}

void frmErrMsg::LayOut()
{
    lblMsg->setWordWrap(true);
    lblMsg->setTextFormat(Qt::PlainText);
    lblMsg->setTextInteractionFlags(Qt::TextSelectableByMouse);
    lblDetail->setWordWrap(true);
    lblDetail->setTextFormat(Qt::PlainText);
    MakeSecondary(lblDetail);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(lblMsg);
    texts->addWidget(lblDetail);
    auto* head = new QHBoxLayout;
    head->setSpacing(12);
    head->addWidget(picError, 0, Qt::AlignTop);
    head->addLayout(texts, 1);

    lstErr->setModel(m_model);
    lstErr->setItemDelegate(new CountDelegate(lstErr));
    lstErr->setAlternatingRowColors(true);
    lstErr->setUniformItemSizes(true);
    lstErr->setTextElideMode(Qt::ElideRight);
    lstErr->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    lstErr->setAccessibleName(tr("Messages of this run, newest first"));

    MakeSecondary(lblCount);
    auto* buttons = new QHBoxLayout(frameButtons);
    buttons->setContentsMargins(0, 0, 0, 0);
    buttons->addWidget(chkAdv);
    buttons->addSpacing(8);
    buttons->addWidget(lblCount);
    buttons->addStretch();
    buttons->addWidget(cmdCopy);
    buttons->addWidget(cmdOK);
    cmdCopy->setAutoDefault(false);
    cmdOK->setDefault(true);

    auto* down = new QVBoxLayout(this);
    down->setSpacing(12);
    down->addLayout(head);
    down->addWidget(lstErr, 1);
    down->addStretch();
    down->addWidget(frameButtons);
}

void frmErrMsg::ShowMsgBox(const QString& message, const QString& detail)
{
    m_errors.Add(message);
    m_message = message;
    m_detail = detail;
    Refresh();
    if (!isVisible()) { // when it is open already the text changes where it stands, over or under other
                        // windows
        show();
        raise();
    }
}

void frmErrMsg::ShowAdvanced(bool advanced)
{
    lstErr->setVisible(advanced);
    cmdCopy->setVisible(advanced);
    const QSize size = advanced ? QSize(680, 400) : QSize(480, 130);
    setMinimumSize(advanced ? QSize(420, 260) : QSize(360, 0));
    layout()->activate();
    resize(size.expandedTo(minimumSizeHint()));
}

void frmErrMsg::Refresh()
{
    lblMsg->setText(m_message.isEmpty() ? tr("No message is open.") : m_message);
    lblDetail->setText(m_detail);
    lblDetail->setVisible(!m_detail.isEmpty());
    if (m_errors.Revision() == m_shownRevision)
        return;
    m_shownRevision = m_errors.Revision();
    static_cast<ErrorModel*>(m_model)->Refresh();
    std::uint64_t count = 0;
    for (const ErrorEntry& entry : m_errors.Entries())
        count += entry.Count;
    lblCount->setText(count == 1 ? tr("1 message in this run") : tr("%1 messages in this run").arg(count));
}

void frmErrMsg::CopyAll()
{
    QStringList lines;
    const auto& entries = m_errors.Entries();
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry)
        lines << (entry->Count > 1 ? QStringLiteral("%1 (%2)").arg(EntryText(*entry), Times(entry->Count))
                                   : EntryText(*entry));
    QApplication::clipboard()->setText(lines.join(QStringLiteral("\r\n")));
}

void frmErrMsg::showEvent(QShowEvent* event)
{
    Refresh();
    tmrRefresh->start(kRefreshMs); // others write into the list without asking for a window
    QDialog::showEvent(event);
}

void frmErrMsg::Applyskin()
{
    const Theme& theme = Theme::Current();
    lblMsg->setFont(theme.Font(Type::Title));
    picError->setPixmap(
        IconPixmap(QStringLiteral("error"), 32, ToColour(theme.Colours().Failed), devicePixelRatioF()));
}
