#pragma once

#include "Platform/AppKit/Quick/QuickApplication.h"
#include "tests/AppKit/Quick/WaitFor.h"

#include <gmock/gmock.h>
#include <QFile>
#include <QTemporaryDir>

#include <memory>

/// Tests with an application on Qt's offscreen platform and interface files written by the test.
class QuickTest : public testing::Test {
protected:
    void SetUp() override
    {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qputenv("QT_QUICK_BACKEND", "software");
        mApplication = std::make_unique<QuickApplication>(mArgumentCount, mArguments);
    }

    /// Loads a file with these lines after its imports, which take three lines.
    std::optional<std::string> load(const QByteArray& text, NSObject* owner = nullptr)
    {
        QFile file(mFolder.filePath(QStringLiteral("Test.qml")));
        if (!file.open(QIODevice::WriteOnly))
            throw std::runtime_error("the test's file cannot be written");
        file.write("import QtQuick\nimport Tovrin.Interface\nInterfaceFile {\n" + text + "\n}\n");
        file.close();
        mApplication->loader().engine().clearComponentCache();
        return mApplication->loader().loadUrl(QUrl::fromLocalFile(file.fileName()), owner);
    }

    QuickApplication& application() { return *mApplication; }

private:
    int mArgumentCount = 1;
    char mName[5] = "test";
    char* mArguments[2] = { mName, nullptr };
    QTemporaryDir mFolder;
    std::unique_ptr<QuickApplication> mApplication;
};
