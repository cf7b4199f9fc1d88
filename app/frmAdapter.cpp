#include "app/frmAdapter.h"

#include "look/Icons.h"

#include <QDialogButtonBox>
#include <QVBoxLayout>

namespace {

constexpr int kDeviceRole = Qt::UserRole;

QString Described(const AdapterFacts& facts)
{
    QString text = facts.Name;
    if (!facts.Functions.isEmpty())
        text += QStringLiteral(" - ") + facts.Functions.join(QStringLiteral(", "));
    if (!facts.Free)
        text += frmAdapter::tr(" (held by another Tarnlo)");
    if (!facts.Problem.isEmpty())
        text += QLatin1Char('\n') + facts.Problem;
    return text;
}

} // namespace

frmAdapter::frmAdapter(std::function<std::vector<AdapterFacts>()> list, const QString& present,
                       QWidget* parent)
    : QDialog(parent), m_list(std::move(list)), m_present(present), lstAdapters(new QListWidget(this)),
      lblAdapterHelp(new QLabel(this)), chkRemember(new QCheckBox(tr("&Use it at every start"), this)),
      cmdOK(nullptr)
{
    setObjectName(QStringLiteral("frmAdapter"));
    setWindowTitle(tr("Choose adapter"));
    lstAdapters->setObjectName(QStringLiteral("lstAdapters"));
    lstAdapters->setAccessibleName(tr("Adapters"));
    lstAdapters->setIconSize(QSize(24, 24));
    lstAdapters->setWordWrap(true);
    lblAdapterHelp->setObjectName(QStringLiteral("lblAdapterHelp"));
    lblAdapterHelp->setWordWrap(true);
    lblAdapterHelp->setText(
        tr("Buses that hang off USB are listed by themselves. Name any other bus in the settings: "
           "a computer's own memory bus is one of them, and writing there does harm."));
    chkRemember->setObjectName(QStringLiteral("chkRemember"));

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    cmdOK = buttons->button(QDialogButtonBox::Ok);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setText(tr("Use this adapter"));
    buttons->button(QDialogButtonBox::Cancel)->setObjectName(QStringLiteral("cmdCancel"));
    auto* cmdLook = buttons->addButton(tr("&Look again"), QDialogButtonBox::ActionRole);
    cmdLook->setObjectName(QStringLiteral("cmdLookAgain"));
    cmdLook->setIcon(ThemeIcon(QStringLiteral("refresh")));
    cmdLook->setAutoDefault(false);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(12, 12, 12, 12);
    column->addWidget(lstAdapters, 1);
    column->addWidget(lblAdapterHelp);
    column->addWidget(chkRemember);
    column->addWidget(buttons);
    resize(520, 320);

    connect(cmdLook, &QPushButton::clicked, this, &frmAdapter::Fill);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(lstAdapters, &QListWidget::itemActivated, this, &QDialog::accept);
    Fill();
    lstAdapters->setFocus();
}

void frmAdapter::Fill()
{
    lstAdapters->clear();
    auto add = [this](const QString& icon, const QString& text, const QString& device) {
        auto* item = new QListWidgetItem(ThemeIcon(icon), text, lstAdapters);
        item->setData(kDeviceRole, device);
        if (device == m_present)
            lstAdapters->setCurrentItem(item);
    };
    add(QStringLiteral("refresh"),
        tr("By itself\nThe first USB adapter; with none plugged in the simulated pack"),
        QStringLiteral("auto"));
    for (const AdapterFacts& facts : m_list())
        if (facts.Kind == QLatin1String("linux"))
            add(QStringLiteral("adapter"), Described(facts), facts.Name);
    add(QStringLiteral("sim"), tr("Simulated pack\nFour cells that charge and discharge like real ones"),
        QStringLiteral("sim"));
    if (!lstAdapters->currentItem())
        lstAdapters->setCurrentRow(0);
}

QString frmAdapter::Device() const
{
    const QListWidgetItem* item = lstAdapters->currentItem();
    return item ? item->data(kDeviceRole).toString() : m_present;
}
