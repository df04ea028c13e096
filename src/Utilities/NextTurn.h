#pragma once

#include <QCoroTask>

/// Lets the event loop handle what has come meanwhile, drawing included. Awaited between the steps of work that
/// would hold up the window as a whole.
QCoro::Task<> nextTurn();
