#pragma once

#include <QString>

class QImage;

/// What a phone reads from the one code in the picture; empty when there is none that can be read.
QString scannedCode(const QImage &image);
