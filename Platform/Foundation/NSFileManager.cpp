#include "Platform/Foundation/NSFileManager.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/Foundation/Trash.h"

#include <cerrno>
#include <filesystem>

NS_IMPLEMENTATION(NSFileManager, NSObject) { }

NSFileManager* NSFileManager::defaultManager()
{
    static NSFileManager* const manager = [] {
        auto object = make<NSFileManager>();
        object->makeImmortal();
        return object.leak();
    }();
    return manager;
}

bool NSFileManager::fileExistsAtPath(CFString* path)
{
    std::error_code error;
    const auto status = std::filesystem::symlink_status(std::filesystem::path(textOf(path)), error);
    return std::filesystem::exists(status);
}

bool NSFileManager::removeItemAtPath_error(CFString* path, Ref<NSError>* error)
{
    Ref<NSError> failure;
    if (const auto status = FAIL_POINT("NSFileManager.removeItemAtPath"))
        failure = NSError::errorWithErrno(*status, "The file cannot be removed");
    else if (std::error_code ignored; std::filesystem::is_directory(std::filesystem::path(textOf(path)), ignored))
        failure = NSError::errorWithErrno(EISDIR, "\"" + std::string(textOf(path)) + "\" is not removed");
    else
        failure = moveToTrash(std::filesystem::path(textOf(path)));
    const bool hasGone = !failure;
    NSErrorReturn(error, std::move(failure));
    return hasGone;
}
