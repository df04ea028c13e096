#pragma once

#include "Models/SoftwareCatalog.h"

/// A catalog of `count` entries such as real ones are: Chinese descriptions, command lines of some
/// length, a file here and there. No entry has a command line that detects it.
SoftwareCatalog::Entries manyEntries(int count);
