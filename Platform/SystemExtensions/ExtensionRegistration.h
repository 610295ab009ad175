#pragma once

#include "Platform/SystemExtensions/ExtensionProgram.h"

/// What makes an extension run whenever this user is logged in: a unit of the user's service manager where one answers,
/// otherwise an entry among the programs that the desktop starts at login.
class ExtensionRegistration {
public:
    explicit ExtensionRegistration(std::string identifier);

    /// Whether either is there.
    bool exists() const;
    /// Registers \p program in the one way that fits this session, and in no other, and starts it.
    std::optional<ExtensionFailure> install(const ExtensionProgram& program);
    /// Stops the unit and removes both.
    std::optional<ExtensionFailure> remove();
    /// Takes back what `install` did, for a program that does not come up.
    void undoInstall();

private:
    static bool hasServiceManager();
    std::string unitPath() const;
    std::string unitLinkPath() const;
    std::string loginEntryPath() const;
    std::optional<ExtensionFailure> installUnit(const ExtensionProgram& program);
    std::optional<ExtensionFailure> installLoginEntry(const ExtensionProgram& program);

    const std::string mIdentifier;
    int mSupervisor = 0; ///< the process that `install` started, where no service manager did
};
