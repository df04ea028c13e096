#pragma once

/// Ends the application in half a second, as closing its last window does. Where that keeps it from ending, the process
/// ends three seconds from now, with status 0 and without further ado: who waits for it does not wait for ever.
void quitApplication();
