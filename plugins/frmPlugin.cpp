#include "plugins/frmPlugin.h"

#include "look/Theme.h"
#include "plugins/PluginCatalogue.h"
#include "plugins/PluginObject.h"

#include <QCloseEvent>
#include <QScrollBar>

// What the window does; frmPluginLayout.cpp builds it.

namespace {

constexpr int kShowFormArgument = 0; // nothing to tell

} // namespace

frmPlugin::~frmPlugin() { DropObject(); }

void frmPlugin::Mode(const QString& key)
{
    if (Busy()) {
        QTimer::singleShot(kUnloadMs, this, [this, key] { Mode(key); });
        return;
    }
    DropObject();
    m_key = key;
    m_popup = 0;
    m_introduced = m_shownForm = false;
    setWindowTitle(key);
    m_host = new PluginHost(
        PluginHost::Links{m_context.usb, m_context.access, m_context.time, m_context.messages,
                          [] { return Theme::Current().CurrentSkin(); }, m_dataFlash.get()},
        key, this);
    // later: the plug-in that asks is replaced, so its call must have ended
    connect(m_host, &PluginHost::ModeRequested, this, &frmPlugin::Mode, Qt::QueuedConnection);
    connect(m_host, &PluginHost::UnloadRequested, this, &frmPlugin::UnloadInTime);
    SetState(State::Starting);
    QString problem;
    m_object = MakePluginObject(key, m_folders, *m_host, this, problem);
    if (!m_object) {
        NoteEnd(problem);
        return;
    }
    connect(m_object, &PluginObject::Ready, this, &frmPlugin::Introduce);
    connect(m_object, &PluginObject::Trouble, this, &frmPlugin::NoteTrouble);
    connect(m_object, &PluginObject::Ended, this, &frmPlugin::NoteEnd);
    connect(m_object, &PluginObject::Answering, this,
            [this](bool answering) { SetState(answering ? State::Running : State::NotAnswering); });
    connect(m_object, &PluginObject::Printed, this, [this] {
        txtPluginOutput->setPlainText(m_object ? m_object->Output() : QString());
        txtPluginOutput->verticalScrollBar()->setValue(txtPluginOutput->verticalScrollBar()->maximum());
        lblPluginOutput->setVisible(!txtPluginOutput->document()->isEmpty());
        txtPluginOutput->setVisible(!txtPluginOutput->document()->isEmpty());
    });
    m_object->Start();
}

void frmPlugin::Introduce()
{
    SetState(State::Running);
    Embed();
    m_object->Get(QStringLiteral("Caption"), [this](const QVariant& value) {
        const QString caption = value.toString().left(200);
        if (caption.isEmpty())
            return;
        setWindowTitle(caption);
        m_host->SetOwner(caption);
        SetState(m_state);
    });
    m_object->Set(QStringLiteral("TargetInfo"), TargetInfo());
    m_object->Set(QStringLiteral("TargetAddress"), m_context.state.TargetAddress);
    m_object->Get(QStringLiteral("Popup"), [this](const QVariant& value) {
        m_popup = static_cast<std::int16_t>(value.toInt());
        m_introduced = true;
        SetState(m_state);
        if (isVisible())
            ShowForm();
    });
}

QString frmPlugin::TargetInfo() const
{
    const QString name = m_context.profiles.String(m_context.state.TargetConfigPath, u"Device", u"Name");
    return QStringLiteral("Name=%1\nFile=%2\nAdapter=%3\nProgramFolder=%4")
        .arg(name, m_context.state.TargetConfigPath, m_context.usb.Facts().Name,
             m_context.state.ProgramFolder);
}

void frmPlugin::Embed()
{
    QObject* object = m_object->Object();
    auto* widget = qobject_cast<QWidget*>(object);
    if (object && !widget)
        m_object->Get(QStringLiteral("Widget"),
                      [&widget](const QVariant& value) { widget = value.value<QWidget*>(); });
    if (!widget)
        return;
    OLE1->addWidget(widget);
    OLE1->setCurrentWidget(widget);
}

void frmPlugin::ShowForm()
{
    if (m_unloadRequested || m_popup == 0 || !m_object || m_shownForm)
        return;
    m_shownForm = true;
    m_object->ShowForm(kShowFormArgument);
}

void frmPlugin::showEvent(QShowEvent* event)
{
    ChildView::showEvent(event);
    if (!event->spontaneous() && m_introduced) {
        m_shownForm = false;
        ShowForm();
    }
}

void frmPlugin::UnloadInTime()
{
    m_unloadRequested = true;
    tmrUnload->start();
}

bool frmPlugin::Busy() const { return (m_host && m_host->Busy()) || (m_object && m_object->Busy()); }

void frmPlugin::Abandon()
{
    if (!m_host)
        return;
    m_host->StopWaiting();
    if (!m_host->Busy())
        m_host->GiveBack();
}

void frmPlugin::closeEvent(QCloseEvent* event)
{
    Abandon();
    if (Busy()) { // the call comes to its end first
        event->ignore();
        UnloadInTime();
        return;
    }
    DropObject();
    event->accept();
}

void frmPlugin::DropObject()
{
    if (m_object)
        m_object->disconnect(this);
    if (OLE1->currentWidget() != m_page)
        OLE1->setCurrentWidget(m_page);
    delete std::exchange(m_object, nullptr);
    delete std::exchange(m_host, nullptr);
}

void frmPlugin::NoteTrouble(const QString& text)
{
    m_context.messages.Report(text);
    lblPluginDetail->setText(text);
}

void frmPlugin::NoteEnd(const QString& reason)
{
    if (m_host)
        m_host->GiveBack();
    if (reason.isEmpty() && m_introduced) {
        UnloadInTime(); // it was closed, and so is its window
        return;
    }
    SetState(State::Ended, reason.isEmpty() ? tr("It ended before it had told its caption.") : reason);
    OLE1->setCurrentWidget(m_page);
}

void frmPlugin::SetState(State state, const QString& detail)
{
    m_state = state;
    const QString name = windowTitle();
    switch (state) {
    case State::Starting:
        lblPluginState->setText(tr("%1 is starting").arg(name));
        lblPluginDetail->clear();
        break;
    case State::Running:
        lblPluginState->setText(tr("%1 is running").arg(name));
        lblPluginDetail->setText(m_popup != 0
                                     ? tr("It shows a window of its own and works until that or this "
                                          "window is closed.")
                                     : tr("It has no window of its own."));
        break;
    case State::NotAnswering:
        lblPluginState->setText(tr("%1 does not answer").arg(name));
        lblPluginDetail->setText(
            tr("The bus is free: what the plug-in held of it was given back. Wait, or end "
               "the plug-in; what it has not saved is lost then."));
        break;
    case State::Ended:
        lblPluginState->setText(tr("%1 is not running").arg(name));
        lblPluginDetail->setText(detail);
        break;
    }
    const bool alive = state == State::Running || state == State::NotAnswering;
    cmdShowForm->setVisible(alive && m_popup != 0);
    cmdEndPlugin->setVisible(state != State::Ended);
    cmdStartAgain->setVisible(state == State::Ended);
    ShowFacts();
    Applyskin();
}

void frmPlugin::ShowFacts()
{
    if (!m_host || m_state == State::Ended) {
        lblPluginFacts->clear();
        return;
    }
    const QString calls = tr("Calls of the gauge and the host: %1").arg(m_host->Calls());
    lblPluginFacts->setText(m_host->Holds() ? calls + tr(" \u00b7 has the bus for itself") : calls);
}
