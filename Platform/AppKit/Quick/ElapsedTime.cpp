#include "Platform/AppKit/Quick/ElapsedTime.h"

namespace {

/// Often enough that no second is skipped.
constexpr int millisecondsBetweenLooks = 200;

}

ElapsedTime::ElapsedTime()
{
    mTimer.setInterval(millisecondsBetweenLooks);
    connect(&mTimer, &QTimer::timeout, this, [this] { setSeconds(mStart.elapsed() / 1000); });
}

void ElapsedTime::setRunning(bool running)
{
    if (running == isRunning())
        return;
    if (!running) {
        mTimer.stop();
        return;
    }
    mStart.start();
    mTimer.start();
    setSeconds(0);
}

QString ElapsedTime::textOfSeconds(qint64 seconds)
{
    const auto twoDigits = [](qint64 number) { return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0')); };
    const auto minutes = seconds / 60;
    if (minutes < 60)
        return twoDigits(minutes) + QLatin1Char(':') + twoDigits(seconds % 60);
    return QString::number(minutes / 60) + QLatin1Char(':') + twoDigits(minutes % 60) + QLatin1Char(':')
        + twoDigits(seconds % 60);
}

void ElapsedTime::setSeconds(qint64 seconds)
{
    if (seconds == mSeconds)
        return;
    mSeconds = seconds;
    emit textChanged();
}
