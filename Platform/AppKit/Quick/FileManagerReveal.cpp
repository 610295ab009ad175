#include "Platform/AppKit/Quick/FileManagerReveal.h"

#include "Platform/Foundation/NSLog.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

#include <memory>

namespace {

void openFolder(const QString& path)
{
    const QFileInfo file(path);
    const auto folder = file.isDir() ? file.absoluteFilePath() : file.absolutePath();
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(folder)))
        NSLog(CFSTR("No program shows the folder %s"), folder.toUtf8().constData());
}

}

void revealInFileManager(const std::vector<std::string>& paths)
{
    if (paths.empty())
        return;
    QStringList urls;
    for (const auto& path : paths)
        urls.append(QUrl::fromLocalFile(QString::fromStdString(path)).toString());
    const auto first = QString::fromStdString(paths.front());
    const auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        openFolder(first);
        return;
    }
    auto call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"), QStringLiteral("org.freedesktop.FileManager1"),
        QFileInfo(first).isDir() ? QStringLiteral("ShowFolders") : QStringLiteral("ShowItems"));
    call << urls << QString();
    // Deletes itself when the answer is there.
    auto* const watcher = std::make_unique<QDBusPendingCallWatcher>(bus.asyncCall(call)).release();
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, [first](QDBusPendingCallWatcher* finished) {
        if (finished->isError())
            openFolder(first);
        finished->deleteLater();
    });
}
