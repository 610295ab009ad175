#pragma once

#include "Platform/Foundation/NSObject.h"

#include <QQmlEngine>

#include <memory>
#include <optional>
#include <vector>

/// Loads interface files out of the compiled-in resources and keeps what came of them. Main thread.
///
/// The elements are the QML module `Tovrin.Interface` 1.0. Warnings of files that are loaded already go to the log.
class InterfaceLoader : public QObject {
    Q_OBJECT
public:
    InterfaceLoader();
    ~InterfaceLoader() override;

    /// Loads `qrc:/Interface/<name>.qml`.
    /// \return nothing when all went well, else every error, one a line, with file and line
    std::optional<std::string> load(std::string_view name, NSObject* owner);
    std::optional<std::string> loadUrl(const QUrl& url, NSObject* owner);
    QQmlEngine& engine() { return *mEngine; }

private:
    void registerElements();
    void warningsArrived(const QList<QQmlError>& warnings);

    std::unique_ptr<QQmlEngine> mEngine;
    std::vector<std::unique_ptr<QObject>> mRoots;
};
