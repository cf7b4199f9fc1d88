#include "dataflash/NoticeBar.h"

#include "look/Controls.h"
#include "look/Icons.h"
#include "look/Theme.h"

#include <QHBoxLayout>

namespace {

constexpr int kIcon = 16;

QIcon IconOf(NoticeBar::Kind kind)
{
    switch (kind) {
    case NoticeBar::Kind::Good:
        return ThemeIcon(QStringLiteral("ok"), IconInk::Good);
    case NoticeBar::Kind::Caution:
        return ThemeIcon(QStringLiteral("warn"), IconInk::Caution);
    case NoticeBar::Kind::Failed:
        return ThemeIcon(QStringLiteral("error"), IconInk::Failed);
    case NoticeBar::Kind::Note:
        break;
    }
    return ThemeIcon(QStringLiteral("info"), IconInk::Secondary);
}

} // namespace

NoticeBar::NoticeBar(QWidget* parent)
    : QFrame(parent), m_icon(new QLabel(this)), lblNotice(Named(new QLabel(this), "lblNotice")),
      cmdNoticeAct(Named(new QPushButton(this), "cmdNoticeAct")),
      cmdNoticeClose(Named(new QToolButton(this), "cmdNoticeClose"))
{
    setObjectName(QStringLiteral("paneNotice"));
    setFrameShape(StyledPanel);
    lblNotice->setWordWrap(true);
    lblNotice->setTextInteractionFlags(Qt::TextSelectableByMouse);
    cmdNoticeClose->setIcon(ThemeIcon(QStringLiteral("cross")));
    cmdNoticeClose->setAutoRaise(true);
    cmdNoticeClose->setToolTip(tr("Put the notice away"));
    cmdNoticeClose->setAccessibleName(cmdNoticeClose->toolTip());
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(8, 3, 4, 3);
    row->setSpacing(8);
    row->addWidget(m_icon);
    row->addWidget(lblNotice, 1);
    row->addWidget(cmdNoticeAct);
    row->addWidget(cmdNoticeClose);
    connect(cmdNoticeClose, &QToolButton::clicked, this, &NoticeBar::Clear);
    connect(cmdNoticeAct, &QPushButton::clicked, this, [this] {
        const auto act = m_act; // it may show another notice
        if (act)
            act();
    });
    connect(&Theme::Current(), &Theme::Changed, this, &NoticeBar::Paint);
    hide();
}

void NoticeBar::Show(Kind kind, const QString& text, const QString& verb, std::function<void()> act)
{
    m_kind = kind;
    m_act = std::move(act);
    lblNotice->setText(text);
    cmdNoticeAct->setText(verb);
    cmdNoticeAct->setVisible(!verb.isEmpty());
    Paint();
    show();
}

void NoticeBar::Clear()
{
    lblNotice->clear();
    m_act = nullptr;
    hide();
}

void NoticeBar::Paint()
{
    m_icon->setPixmap(IconOf(m_kind).pixmap(QSize(kIcon, kIcon), devicePixelRatioF()));
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Base);
}
