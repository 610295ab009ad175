#pragma once

#include "Platform/AppKit/Quick/InterfaceLoader.h"

#include <QGuiApplication>
#include <QSocketNotifier>

#include <memory>

/// Qt's application with what every application here has: an autorelease pool around each event, the main queue served
/// between events, the keys of the main menu, and signals and the session's end turned into `terminate`. Main thread.
class QuickApplication : public QGuiApplication {
    Q_OBJECT
public:
    /// \param argumentCount, arguments  outlive the application
    QuickApplication(int& argumentCount, char** arguments);
    ~QuickApplication() override;

    bool notify(QObject* receiver, QEvent* event) override;
    InterfaceLoader& loader() { return *mLoader; }

protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    /// The windows' icon in all its sizes and the name of the desktop's file, from the main bundle's facts.
    void introduceToDesktop();
    void serveMainQueue();
    void watchSignals();
    void signalArrived();

    std::unique_ptr<InterfaceLoader> mLoader;
    std::unique_ptr<QSocketNotifier> mSignalNotifier;
};
