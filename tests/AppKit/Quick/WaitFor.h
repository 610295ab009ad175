#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>

#include <functional>

/// Serves events until \p done holds or ten seconds have gone. \return whether it holds
inline bool waitFor(const std::function<bool()>& done)
{
    QElapsedTimer timer;
    timer.start();
    while (!done() && timer.elapsed() < 10'000)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 50);
    return done();
}
