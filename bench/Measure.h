#pragma once

#include <QList>
#include <QString>
#include <functional>

/// What a benchmark measured, compared with what it is to reach, as one line of the table.
struct Measurement {
    enum class Bound { AtMost, Below, AtLeast };

    QString name;
    QString measured;
    QString against; ///< empty when the value stands alone
    double value = 0;
    Bound bound = Bound::AtMost;
    double target = 0;
    QString unit = {}; ///< empty for a ratio
};

/// Prints the measurement to standard output as one line of six tab-separated columns: name,
/// measured, against, value, target, "yes" or "no".
void report(const Measurement &measurement);

double median(QList<double> values);
double percentile95(QList<double> values);
double percentile99(QList<double> values);

/// Seconds a call takes.
double seconds(const std::function<void()> &call);

/// Seconds of processor time, in user and system mode, that this process has spent.
double processorSeconds();

struct Comparison {
    double ours; ///< median
    double theirs; ///< median
    double ratio; ///< median of the rounds' ratios
};

/// Calls both sides in turn, so that what else the machine does hits both alike, after one round
/// that does not count. Each returns what it measured.
Comparison compare(int rounds, const std::function<double()> &ours, const std::function<double()> &theirs);
Comparison compare(const QList<double> &ours, const QList<double> &theirs);

QString milliseconds(double seconds);
