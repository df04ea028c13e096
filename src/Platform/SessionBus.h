#pragma once

/// Whether the user has a D-Bus session bus. Where there is none, D-Bus libraries would try to launch one,
/// so ask this before using the bus.
bool hasSessionBus();
