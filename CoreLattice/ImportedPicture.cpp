#include "CoreLattice/ImportedPicture.h"

#include <QFile>
#include <QImageReader>

#include <cstring>
#include <filesystem>

namespace CoreLattice {

namespace {

constexpr qint64 largestFile = 32 << 20;
constexpr int longestSide = 8192;

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
    if (size.width() > longestSide || size.height() > longestSide) {
        *error = "\"" + path + "\" has more than 8192 pixels in a direction";
        return nullptr;
    }
    const auto image = reader.read().convertToFormat(QImage::Format_ARGB32);
    Ref<CVPixelBuffer> result;
    if (image.isNull()
        || CVPixelBufferCreate(kCFAllocatorDefault, static_cast<std::size_t>(image.width()),
               static_cast<std::size_t>(image.height()), kCVPixelFormatType_32BGRA, nullptr, &result)
            != kCVReturnSuccess) {
        *error = "\"" + path + "\": " + reader.errorString().toStdString();
        return nullptr;
    }
    for (int y = 0; y < image.height(); ++y)
        std::memcpy(result->baseAddress() + static_cast<std::size_t>(y) * result->bytesPerRow(), image.constScanLine(y),
            static_cast<std::size_t>(image.width()) * 4);
    return result;
}

}
