#include "app/frmSplash.h"

#include "look/Icons.h"
#include "look/Theme.h"

#include <QBoxLayout>
#include <QLabel>
#include <QPushButton>

frmSplash::frmSplash(QWidget* parent)
    : QDialog(parent), picLogo(new QLabel(this)), lblTitle(new QLabel(QStringLiteral("Tarnlo"), this)),
      lblVersion(new QLabel(QStringLiteral("Version " TARNLO_VERSION), this)),
      cmdOK(new QPushButton(QStringLiteral("OK"), this))
{
    setObjectName(QStringLiteral("frmSplash"));
    picLogo->setObjectName(QStringLiteral("picLogo"));
    lblTitle->setObjectName(QStringLiteral("lblTitle"));
    lblVersion->setObjectName(QStringLiteral("lblVersion"));
    setWindowTitle(QStringLiteral("About Tarnlo"));

    picLogo->setAutoFillBackground(true);
    picLogo->setAlignment(Qt::AlignCenter);
    picLogo->setMinimumWidth(112);
    auto* lblPurpose = new QLabel(QStringLiteral("Evaluation tool for smart-battery gas gauges"), this);
    auto* lblLicence = new QLabel(QStringLiteral("Free software under the GNU General Public "
                                                 "License,\nversion 3 or later. It comes without warranty."),
                                  this);
    lblLicence->setForegroundRole(QPalette::PlaceholderText);

    auto* text = new QVBoxLayout;
    text->setContentsMargins(24, 24, 24, 20);
    text->setSpacing(4);
    text->addWidget(lblTitle);
    text->addWidget(lblPurpose);
    text->addWidget(lblVersion);
    text->addSpacing(16);
    text->addWidget(lblLicence);
    text->addSpacing(16);
    text->addWidget(cmdOK, 0, Qt::AlignRight);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    cmdOK->hide();
    connect(cmdOK, &QPushButton::clicked, this, &QDialog::accept);
    auto* across = new QHBoxLayout(this);
    across->setContentsMargins(0, 0, 0, 0);
    across->setSpacing(0);
    across->addWidget(picLogo);
    across->addLayout(text);
    across->setSizeConstraint(QLayout::SetFixedSize);

    setWindowFlags(Qt::SplashScreen | Qt::FramelessWindowHint);
    connect(&Theme::Current(), &Theme::Changed, this, &frmSplash::Applyskin);
    Applyskin();
}

void frmSplash::ShowAsAboutBox()
{
    setWindowFlags(Qt::Dialog);
    cmdOK->show();
    exec();
}

void frmSplash::Applyskin()
{
    const Theme& theme = Theme::Current();
    lblTitle->setFont(theme.Font(Type::Figure));
    QPalette band = palette();
    band.setColor(QPalette::Window, ToColour(theme.Colours().SelectionHighlight));
    picLogo->setPalette(band);
    picLogo->setPixmap(IconPixmap(QStringLiteral("cells"), 56, ToColour(theme.Colours().TextHighlightFore),
                                  devicePixelRatioF()));
}
