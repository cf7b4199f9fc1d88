#include "sbs/CycleDirectionBox.h"

#include "look/Controls.h"
#include "sbs/FlagView.h"
#include "sbs/RowTexts.h"

#include <QRegularExpressionValidator>
#include <QSignalBlocker>

#include <algorithm>

/// The fields of one direction.
struct CycleKeys {
    const char* prefix;
    std::int32_t AutoCycleSettings::*remCapVal;
    std::int32_t AutoCycleSettings::*battvoltVal;
    std::int32_t AutoCycleSettings::*trigType;
    std::int32_t AutoCycleSettings::*val;
    std::int32_t AutoCycleSettings::*relax;
    std::int32_t AutoCycleSettings::*any;
    std::int32_t AutoCycleSettings::*longest;
};

namespace {

constexpr CycleKeys kCharge{"Chg",
                            &AutoCycleSettings::ChgRemCapVal,
                            &AutoCycleSettings::ChgBattvoltVal,
                            &AutoCycleSettings::ChgTrigType,
                            &AutoCycleSettings::ChgVal,
                            &AutoCycleSettings::ChgRelax,
                            &AutoCycleSettings::ChgAny,
                            &AutoCycleSettings::ChgLongest};
constexpr CycleKeys kDischarge{"DChg",
                               &AutoCycleSettings::DChgRemCapVal,
                               &AutoCycleSettings::DChgBattvoltVal,
                               &AutoCycleSettings::DChgTrigType,
                               &AutoCycleSettings::DChgVal,
                               &AutoCycleSettings::DChgRelax,
                               &AutoCycleSettings::DChgAny,
                               &AutoCycleSettings::DChgLongest};

constexpr std::int32_t kUseRem = 0x01;
constexpr std::int32_t kUseVolt = 0x02;
constexpr std::int32_t kUseStatus = 0xFC; // any of them
constexpr std::int32_t kUseStatusNew = 0x04;
constexpr int kHighestWord = 0xFFFF;
constexpr int kLongestSeconds = 31 * 86400;
constexpr int kBitColumns = 2;

std::int32_t WithBits(std::int32_t value, std::int32_t mask, std::int32_t toSet, bool on)
{
    if (!on)
        return value & ~mask;
    return (value & mask) != 0 ? value : value | toSet;
}

/// Shows a stored number even where nobody would type it, so that pressing OK does not change it.
void ShowKept(QSpinBox* box, std::int32_t value, int highest)
{
    box->setRange(std::min(0, value), std::max(highest, value));
    box->setValue(value);
}

} // namespace

template <class Control>
Control* CycleDirectionBox::Make(const char* prefix, const char* key, Control* control)
{
    control->setObjectName(QLatin1String(prefix) + QLatin1String(m_keys.prefix) + QLatin1String(key));
    return control;
}

CycleDirectionBox::CycleDirectionBox(Direction direction, const ScanEngine& scan, QWidget* parent)
    : QGroupBox(direction == Direction::Charge ? tr("Charge when") : tr("Discharge when"), parent),
      m_keys(direction == Direction::Charge ? kCharge : kDischarge), m_scan(scan),
      m_useRem(Make("chk", "RemCap", new QCheckBox(this))),
      m_useVolt(Make("chk", "Battvolt", new QCheckBox(this))),
      m_useStatus(Make("chk", "Status", new QCheckBox(tr("Status bits"), this))),
      m_rem(Make("spn", "RemCapVal", new QSpinBox(this))),
      m_volt(Make("spn", "BattvoltVal", new QSpinBox(this))),
      m_status(Make("txt", "Val", new QLineEdit(this))), m_remUnit(new QLabel(this)),
      m_voltUnit(new QLabel(this)), m_bitGrid(new QGridLayout),
      m_any(Make("opt", "Any", new QRadioButton(tr("Any one suffices"), this))),
      m_all(Make("opt", "All", new QRadioButton(tr("All used must hold"), this))),
      m_relax(Make("spn", "Relax", new QSpinBox(this))),
      m_longest(Make("spn", "Longest", new QSpinBox(this))), m_relaxAs(new QLabel(this)),
      m_longestAs(new QLabel(this))
{
    const bool charge = direction == Direction::Charge;
    m_useRem->setText(charge ? tr("Remaining capacity below") : tr("Remaining capacity above"));
    m_useVolt->setText(charge ? tr("Voltage below") : tr("Voltage above"));
    m_rem->setAccessibleName(m_useRem->text());
    m_volt->setAccessibleName(m_useVolt->text());
    m_status->setAccessibleName(tr("Status bits, hexadecimal"));
    m_status->setValidator(
        new QRegularExpressionValidator(QRegularExpression(QStringLiteral("[0-9A-Fa-f]{1,8}")), this));
    m_longest->setSpecialValueText(tr("no limit"));
    LayOut(charge);
    Connect();
}

void CycleDirectionBox::LayOut(bool charge)
{
    auto* grid = new QGridLayout(this);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(4);
    grid->setColumnStretch(2, 1);
    const auto addRow = [&](int row, QWidget* name, QWidget* field, QWidget* unit) {
        grid->addWidget(name, row, 0);
        grid->addWidget(field, row, 1);
        grid->addWidget(unit, row, 2);
    };
    auto* hex = new QLabel(tr("hex"), this);
    addRow(0, m_useRem, m_rem, m_remUnit);
    addRow(1, m_useVolt, m_volt, m_voltUnit);
    addRow(2, m_useStatus, m_status, hex);
    m_bitGrid->setContentsMargins(20, 0, 0, 0);
    m_bitGrid->setVerticalSpacing(0);
    grid->addLayout(m_bitGrid, 3, 0, 1, 3);
    auto* sums = new QHBoxLayout;
    sums->setSpacing(16);
    sums->addWidget(m_any);
    sums->addWidget(m_all);
    sums->addStretch();
    grid->addLayout(sums, 4, 0, 1, 3);
    auto* relax = new QLabel(charge ? tr("Relax before charging") : tr("Relax before discharging"), this);
    relax->setBuddy(m_relax);
    auto* longest = new QLabel(charge ? tr("Longest charge") : tr("Longest discharge"), this);
    longest->setBuddy(m_longest);
    addRow(5, relax, m_relax, m_relaxAs);
    addRow(6, longest, m_longest, m_longestAs);
    grid->setRowStretch(7, 1);
    const int field = fontMetrics().horizontalAdvance(QStringLiteral("2678400 ")) + 40;
    for (QWidget* control :
         {static_cast<QWidget*>(m_rem), static_cast<QWidget*>(m_volt), static_cast<QWidget*>(m_status),
          static_cast<QWidget*>(m_relax), static_cast<QWidget*>(m_longest)})
        control->setFixedWidth(field);
    for (QLabel* unit : {m_remUnit, m_voltUnit, hex, m_relaxAs, m_longestAs})
        MakeSecondary(unit);
}

void CycleDirectionBox::Connect()
{
    for (QCheckBox* box : {m_useRem, m_useVolt, m_useStatus})
        connect(box, &QCheckBox::toggled, this, &CycleDirectionBox::Changed);
    for (QSpinBox* box : {m_rem, m_volt, m_relax, m_longest})
        connect(box, &QSpinBox::valueChanged, this, &CycleDirectionBox::Changed);
    connect(m_any, &QRadioButton::toggled, this, &CycleDirectionBox::Changed);
    connect(m_status, &QLineEdit::textChanged, this, [this] {
        CheckBits();
        emit Changed();
    });
    const auto showAs = [](const QSpinBox* box, QLabel* label) {
        connect(box, &QSpinBox::valueChanged, label, [label](int seconds) {
            label->setText(seconds < 60 ? tr("s") : tr("s = %1").arg(AgeText(1000LL * seconds)));
        });
        label->setText(tr("s"));
    };
    showAs(m_relax, m_relaxAs);
    showAs(m_longest, m_longestAs);
}

void CycleDirectionBox::Load(const AutoCycleSettings& settings)
{
    const std::int32_t used = settings.*m_keys.trigType;
    m_useRem->setChecked((used & kUseRem) != 0);
    m_useVolt->setChecked((used & kUseVolt) != 0);
    m_useStatus->setChecked((used & kUseStatus) != 0);
    ShowKept(m_rem, settings.*m_keys.remCapVal, kHighestWord);
    ShowKept(m_volt, settings.*m_keys.battvoltVal, kHighestWord);
    const auto bits = static_cast<std::uint32_t>(settings.*m_keys.val);
    m_status->setText(QStringLiteral("%1").arg(bits, 4, 16, QLatin1Char('0')).toUpper());
    (settings.*m_keys.any == 1 ? m_any : m_all)->setChecked(true);
    ShowKept(m_relax, settings.*m_keys.relax, kLongestSeconds);
    ShowKept(m_longest, settings.*m_keys.longest, kLongestSeconds);
    ShowBits(settings.BattStatRow);
}

void CycleDirectionBox::Store(AutoCycleSettings& settings) const
{
    std::int32_t& used = settings.*m_keys.trigType;
    used = WithBits(used, kUseRem, kUseRem, m_useRem->isChecked());
    used = WithBits(used, kUseVolt, kUseVolt, m_useVolt->isChecked());
    used = WithBits(used, kUseStatus, kUseStatusNew, m_useStatus->isChecked());
    settings.*m_keys.remCapVal = m_rem->value();
    settings.*m_keys.battvoltVal = m_volt->value();
    settings.*m_keys.val = static_cast<std::int32_t>(StatusBits());
    if (m_any->isChecked())
        settings.*m_keys.any = 1;
    else if (settings.*m_keys.any == 1)
        settings.*m_keys.any = 0;
    settings.*m_keys.relax = m_relax->value();
    settings.*m_keys.longest = m_longest->value();
}

void CycleDirectionBox::ShowUnits(const QString& rem, const QString& volt)
{
    m_remUnit->setText(rem.isEmpty() ? tr("raw") : rem);
    m_voltUnit->setText(volt.isEmpty() ? tr("raw") : volt);
}

void CycleDirectionBox::ShowBits(std::int32_t statusRow)
{
    for (const auto& [bit, box] : m_bits)
        delete box;
    m_bits.clear();
    for (int flag = 0; flag < m_scan.Tables().GetNumFlags() && m_bits.empty(); ++flag) {
        const FlagLine line = ReadFlagLine(m_scan, flag);
        if (line.Row != statusRow)
            continue;
        for (const FlagBit& named : line.Bits) {
            if (named.Name.isEmpty() || named.Bit > 15)
                continue;
            auto* box = new QCheckBox(QString(named.Name).replace(u'&', QLatin1String("&&")), this);
            box->setObjectName(QStringLiteral("chk%1Bit%2").arg(QLatin1String(m_keys.prefix)).arg(named.Bit));
            box->setToolTip(tr("bit %1, %2 hex")
                                .arg(named.Bit)
                                .arg(QStringLiteral("%1").arg(1 << named.Bit, 4, 16, QLatin1Char('0'))));
            connect(box, &QCheckBox::toggled, this, [this, bit = named.Bit](bool on) {
                const std::uint32_t mask = 1U << bit;
                const std::uint32_t bits = on ? StatusBits() | mask : StatusBits() & ~mask;
                m_status->setText(QStringLiteral("%1").arg(bits, 4, 16, QLatin1Char('0')).toUpper());
            });
            const int place = static_cast<int>(m_bits.size());
            m_bitGrid->addWidget(box, place / kBitColumns, place % kBitColumns);
            m_bits.emplace_back(named.Bit, box);
        }
    }
    CheckBits();
}

std::uint32_t CycleDirectionBox::StatusBits() const
{
    return m_status->text().toUInt(nullptr, 16); // 0 while nothing is typed
}

void CycleDirectionBox::CheckBits()
{
    const std::uint32_t bits = StatusBits();
    for (const auto& [bit, box] : m_bits) {
        const QSignalBlocker quiet(box);
        box->setChecked((bits >> bit & 1) != 0);
    }
}
