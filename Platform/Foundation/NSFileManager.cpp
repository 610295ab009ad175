#include "Platform/Foundation/NSFileManager.h"

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
