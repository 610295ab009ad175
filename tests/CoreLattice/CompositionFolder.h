#pragma once

#include "CoreLattice/FileCompositions.h"
#include "CoreLattice/LTCCompositionRepository.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

/// A filter of this body.
#define FILTER(body) R"(/*{ "INPUTS": [ { "NAME": "inputImage", "TYPE": "image" } ] }*/ void main() { )" body " }\n"

/// A folder of compositions for a test, with a repository that follows it, and a cache for its trials.
class CompositionFolder : public testing::Test {
protected:
    CompositionFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "tovrin-compositions-XXXXXX").string();
        mRoot = mkdtemp(name.data());
        std::filesystem::create_directories(user());
        std::filesystem::create_directories(system());
    }
    ~CompositionFolder() override
    {
        mRepository = nullptr;
        std::filesystem::remove_all(mRoot);
    }
    std::filesystem::path user() const { return mRoot / "user" / "tovrin" / "compositions"; }
    std::filesystem::path system() const { return mRoot / "system"; }

    static void write(const std::filesystem::path& file, std::string_view text)
    {
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << text;
    }
    /// A program that stands in for the one that tries compositions.
    std::string script(const std::string& text) const
    {
        const auto path = mRoot / "script";
        std::ofstream(path) << "#!/bin/sh\n" << text << '\n';
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return path.string();
    }
    CoreLattice::CompositionFileSettings settings(std::string program = TRIAL_PROGRAM) const
    {
        CoreLattice::CompositionFileSettings result;
        result.folders = { user(), system() };
        result.userFolder = user();
        result.trial = { std::move(program), (mRoot / "cache").string(), std::chrono::seconds(60) };
        result.latency = 0.05;
        return result;
    }
    LTCCompositionRepository& follow() { return follow(settings()); }
    LTCCompositionRepository& follow(CoreLattice::CompositionFileSettings settings)
    {
        mRepository = make<LTCCompositionRepository>();
        mRepository->followFiles(std::move(settings));
        waitUntilRead();
        return *mRepository;
    }
    void waitUntilRead()
    {
        bool isRead = false;
        mRepository->whenFilesAreRead([&isRead] { isRead = true; });
        EXPECT_TRUE(DispatchMain::runUntil([&] { return isRead; }, 60));
        DispatchMain::drain();
    }
    /// Runs the main queue until \p done.
    static bool runUntil(const std::function<bool()>& done)
    {
        return DispatchMain::runUntil(
            [&] {
                const AutoreleasePool inner;
                return done();
            },
            30);
    }
    Ref<QCComposition> composition(std::string_view identifier)
    {
        return mRepository->compositionWithIdentifier(CFString::create(identifier).get());
    }
    std::vector<std::string> filters()
    {
        std::vector<std::string> result;
        const auto all = mRepository->compositionsWithProtocol_andAttributes(QCCompositionProtocolImageFilter, nullptr);
        for (const auto& value : all->values())
            result.push_back(kindOf<QCComposition>(value)->identifier()->string());
        return result;
    }
    /// The reasons of the files that cannot be used.
    std::vector<std::string> faults()
    {
        std::vector<std::string> result;
        for (const auto& value : mRepository->unusableCompositions()->values())
            result.push_back(kindOf<LTCUnusableComposition>(value)->reason()->string());
        return result;
    }

    const AutoreleasePool mPool;
    std::filesystem::path mRoot;
    Ref<LTCCompositionRepository> mRepository;
};
