#include "Measure.h"

#include <QElapsedTimer>
#include <algorithm>
#include <cstdio>
#include <sys/resource.h>

namespace {

bool isMet(const Measurement &measurement)
{
    switch (measurement.bound) {
    case Measurement::Bound::AtMost:
        return measurement.value <= measurement.target;
    case Measurement::Bound::Below:
        return measurement.value < measurement.target;
    case Measurement::Bound::AtLeast:
        return measurement.value >= measurement.target;
    }
    return false;
}

QString sign(Measurement::Bound bound)
{
    switch (bound) {
    case Measurement::Bound::AtMost:
        return QStringLiteral("≤ ");
    case Measurement::Bound::Below:
        return QStringLiteral("< ");
    case Measurement::Bound::AtLeast:
        return QStringLiteral("≥ ");
    }
    return {};
}

/// The value at that fraction of the way through the sorted values.
double quantile(QList<double> values, double fraction)
{
    std::ranges::sort(values);
    return values[std::min(values.size() - 1, qsizetype(double(values.size()) * fraction))];
}

double seconds(const timeval &time)
{
    return double(time.tv_sec) + double(time.tv_usec) / 1e6;
}

} // namespace

void report(const Measurement &measurement)
{
    const bool isCount = measurement.value == double(qint64(measurement.value));
    const QString value = QString::number(measurement.value, 'f', isCount ? 0 : 2) + measurement.unit;
    const QString target = sign(measurement.bound) + QString::number(measurement.target) + measurement.unit;
    const QStringList columns{measurement.name,
                              measurement.measured,
                              measurement.against.isEmpty() ? QStringLiteral("–") : measurement.against,
                              value,
                              target,
                              isMet(measurement) ? QStringLiteral("yes") : QStringLiteral("no")};
    std::puts(columns.join(u'\t').toUtf8().constData());
    std::fflush(stdout);
}

double median(QList<double> values)
{
    return quantile(std::move(values), 0.5);
}

double percentile95(QList<double> values)
{
    return quantile(std::move(values), 0.95);
}

double percentile99(QList<double> values)
{
    return quantile(std::move(values), 0.99);
}

double seconds(const std::function<void()> &call)
{
    QElapsedTimer timer;
    timer.start();
    call();
    return double(timer.nsecsElapsed()) / 1e9;
}

double processorSeconds()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

Comparison compare(int rounds, const std::function<double()> &ours, const std::function<double()> &theirs)
{
    QList<double> ourValues;
    QList<double> theirValues;
    ours();
    theirs();
    for (int round = 0; round < rounds; ++round) {
        ourValues.append(ours());
        theirValues.append(theirs());
    }
    return compare(ourValues, theirValues);
}

Comparison compare(const QList<double> &ours, const QList<double> &theirs)
{
    QList<double> ratios;
    for (qsizetype round = 0; round < ours.size(); ++round)
        ratios.append(ours[round] / theirs[round]);
    return {median(ours), median(theirs), median(ratios)};
}

QString milliseconds(double seconds)
{
    return QString::number(seconds * 1000, 'f', 2) + QStringLiteral(" ms");
}
