#include "tests/CoreLattice/fuzz/ReadComposition.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

std::string contentsOf(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return { std::istreambuf_iterator<char>(stream), {} };
}

}

// What the fuzzer came across, and the files that it starts from. A fault that a sanitizer or the reader's rules find
// ends the program.
TEST(ReaderCorpus, IsReadWithoutFault)
{
    std::size_t count = 0;
    for (const auto* const folder : { CORPUS_FOLDER, SEED_FOLDER }) {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            if (!entry.is_regular_file())
                continue;
            SCOPED_TRACE(entry.path().string());
            readComposition(contentsOf(entry.path()));
            ++count;
        }
    }
    EXPECT_GT(count, 50U);
}
