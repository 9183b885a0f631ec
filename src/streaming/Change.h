// Changes of parameters: deriving the cycle's quantities anew, at once or at the end of the cycle,
// and starting or ending the run with the output function.
#pragma once

// Derives every quantity from the parameters; starts a run when a function is selected and none
// exists, ends it when none is. Never waits: while another thread is inside, it returns at once and
// that thread derives once more.
void Change();

// After a setter has stored its value: at the end of the cycle while a run streams, else at once.
void _ChangeRequested();

// After a record was loaded or handed over: a run whose cycle was derived while there was none
// derives it anew.
void RecordReplaced();

// The pending change, on the thread that builds packets.
void ApplyPendingChange();
