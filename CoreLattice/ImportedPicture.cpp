#include "CoreLattice/ImportedPicture.h"

#include "CoreLattice/PictureFile.h"

#include <QFile>
#include <QImageReader>

#include <filesystem>

namespace CoreLattice {

namespace {

constexpr qint64 largestFile = 32 << 20;
constexpr int longestPictureSide = 8192;

/// Where the path leads, empty when it leads out of the composition's folder or to something that is no file.
std::filesystem::path fileOf(const std::string& compositionFile, const std::string& path)
{
    std::error_code error;
    const auto folder = std::filesystem::canonical(std::filesystem::path(compositionFile).parent_path(), error);
    if (error)
        return {};
    const auto file = std::filesystem::canonical(folder / path, error);
    if (error || !std::filesystem::is_regular_file(file, error))
        return {};
    const auto [end, unused] = std::mismatch(folder.begin(), folder.end(), file.begin(), file.end());
    return end == folder.end() ? file : std::filesystem::path();
}

}

std::size_t importedPictureBytes(const std::string& compositionFile, const std::string& path)
{
    const auto size = QImageReader(QString::fromStdString(fileOf(compositionFile, path).string())).size();
    return size.isEmpty() ? 0 : static_cast<std::size_t>(size.width()) * static_cast<std::size_t>(size.height()) * 4;
}

Ref<CVPixelBuffer> importedPicture(const std::string& compositionFile, const std::string& path, std::string* error)
{
    const auto found = fileOf(compositionFile, path);
    QFile file(QString::fromStdString(found.string()));
    if (found.empty() || !file.open(QIODevice::ReadOnly)) {
        *error = "there is no file \"" + path + "\" beside the composition";
        return nullptr;
    }
    if (file.size() > largestFile) {
        *error = "\"" + path + "\" is larger than 32 MiB";
        return nullptr;
    }
    QImageReader reader(&file);
    reader.setAutoTransform(true);
    const auto size = reader.size();
    if (size.width() > longestPictureSide || size.height() > longestPictureSide) {
        *error = "\"" + path + "\" has more than 8192 pixels in a direction";
        return nullptr;
    }
    auto result = pixelBufferOf(reader.read());
    if (!result)
        *error = "\"" + path + "\": " + reader.errorString().toStdString();
    return result;
}

}
