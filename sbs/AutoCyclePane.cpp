#include "sbs/AutoCyclePane.h"

AutoCyclePane::AutoCyclePane(AutoCycle&, TableSettings&, UserMessages&, ScanEngine&, QWidget* parent)
    : QWidget(parent)
{
}
QMenu* AutoCyclePane::MakeMenu(QWidget* parent) { return new QMenu(tr("&Auto-Cycle"), parent); }
void AutoCyclePane::Refresh() { }
void AutoCyclePane::NoteState(CycleState, EventLog&) { }
void AutoCyclePane::Applyskin() { }
