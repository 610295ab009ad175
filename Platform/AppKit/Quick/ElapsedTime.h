#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

/// `ElapsedTime { running: … }`: `text` is how long `running` has been true, as minutes and seconds, with hours from
/// the first one on. It stays when `running` ends and starts anew at its next beginning.
class ElapsedTime : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool running READ isRunning WRITE setRunning)
    Q_PROPERTY(QString text READ text NOTIFY textChanged)
public:
    ElapsedTime();
    bool isRunning() const { return mTimer.isActive(); }
    void setRunning(bool running);
    QString text() const { return textOfSeconds(mSeconds); }
    static QString textOfSeconds(qint64 seconds);

signals:
    void textChanged();

private:
    void setSeconds(qint64 seconds);
    QElapsedTimer mStart;
    QTimer mTimer;
    qint64 mSeconds = 0;
};
