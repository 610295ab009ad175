#pragma once

#include "Platform/Foundation/NSObject.h"

#include <map>
#include <mutex>
#include <span>
#include <vector>

/// What a program brings with it: facts about itself, and files that are compiled in.
///
/// The information dictionary has "CFBundleIdentifier", "CFBundleName", "CFBundleIconFile" and, with the identifier of
/// the camera extension that it brings, "CMIOExtensionIdentifier" where the program gave them. Any thread may use it.
class NSBundle : public NSObject {
    NS_OBJECT(NSBundle)
public:
    NSBundle() = default;
    static NSBundle* mainBundle();

    /// Never null; kept by the bundle.
    CFDictionary* infoDictionary() const { return mInfo; }
    /// The bytes of the compiled-in file of this name, there until the process ends; empty when there is none.
    std::span<const std::byte> resourceNamed(std::string_view name) const;

    /// The names of all compiled-in files, in alphabetical order. A picture that is there in several sizes has files of
    /// the same name in folders, such as "32x32/name.png".
    std::vector<std::string> resourceNames() const;

    /// The text that people read for \p key: its translation where there is one, else \p value, or the key itself where
    /// that is null or empty. There is one table, so \p table is not read.
    CFString* localizedStringForKey_value_table(CFString* key, CFString* value, CFString* table) const;

    /// Adds a fact or a file; called while the program is loaded.
    /// \param bytes  of static storage
    void addResource(std::string_view name, std::span<const std::byte> bytes);
    void setInfo(std::string_view key, std::string_view value);
    void setTranslation(std::string_view key, std::string_view text);

private:
    mutable std::mutex mLock;
    const Ref<CFDictionary> mInfo = make<CFDictionary>();
    std::map<std::string, std::span<const std::byte>, std::less<>> mResources;
    std::map<std::string, std::string, std::less<>> mTranslations;
};
