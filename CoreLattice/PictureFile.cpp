#include "CoreLattice/PictureFile.h"

#include <QColorSpace>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>

#include <algorithm>
#include <cstring>

namespace CoreLattice {

namespace {

/// The rows of an image of four bytes a pixel as a buffer.
Ref<CVPixelBuffer> bufferWithRowsOf(const QImage& image)
{
    Ref<CVPixelBuffer> result;
    if (image.isNull()
        || CVPixelBufferCreate(kCFAllocatorDefault, static_cast<std::size_t>(image.width()),
               static_cast<std::size_t>(image.height()), kCVPixelFormatType_32BGRA, nullptr, &result)
            != kCVReturnSuccess)
        return nullptr;
    for (int y = 0; y < image.height(); ++y)
        std::memcpy(result->baseAddress() + static_cast<std::size_t>(y) * result->bytesPerRow(), image.constScanLine(y),
            static_cast<std::size_t>(image.width()) * 4);
    return result;
}

/// The buffer's pixels in place; the buffer must outlive the image.
QImage imageOver(const CVPixelBuffer& picture)
{
    return { reinterpret_cast<const uchar*>(picture.baseAddress()), static_cast<int>(picture.width()),
        static_cast<int>(picture.height()), static_cast<qsizetype>(picture.bytesPerRow()), QImage::Format_ARGB32 };
}

std::string text(const char* message, const QString& name, const QString& reason = {})
{
    auto result = QCoreApplication::translate("ParameterPicture", message).arg(name);
    return (reason.isEmpty() ? result : result.arg(reason)).toStdString();
}

QImage inUsualColours(QImage image)
{
    image = std::move(image).convertToFormat(QImage::Format_ARGB32);
    const QColorSpace usual(QColorSpace::SRgb);
    if (image.colorSpace().isValid() && image.colorSpace() != usual)
        image.convertToColorSpace(usual);
    return image;
}

}

Ref<CVPixelBuffer> pixelBufferOf(const QImage& image)
{
    return bufferWithRowsOf(image.convertToFormat(QImage::Format_ARGB32));
}

Ref<CVPixelBuffer> readChosenPicture(const std::string& path, std::string* error)
{
    const QFileInfo info(QString::fromStdString(path));
    QFile file(info.filePath());
    // What is no file, such as a pipe, might hold up the reader for ever.
    if (!info.isFile() || !file.open(QIODevice::ReadOnly)) {
        *error = text(QT_TRANSLATE_NOOP("ParameterPicture", "\"%1\" cannot be opened."), info.fileName());
        return nullptr;
    }
    QImageReader reader(&file);
    reader.setAutoTransform(true);
    const auto size = reader.size();
    // While it is read, so that a huge picture needs the memory of the small one, as far as the format lets it.
    if (std::max(size.width(), size.height()) > longestChosenSide)
        reader.setScaledSize(
            size.scaled(longestChosenSide, longestChosenSide, Qt::KeepAspectRatio).expandedTo(QSize(1, 1)));
    const auto image = reader.read();
    if (image.isNull()) {
        *error = text(QT_TRANSLATE_NOOP("ParameterPicture", "\"%1\" is no picture that can be read. %2"),
            info.fileName(), reader.errorString() + u'.');
        return nullptr;
    }
    auto result = bufferWithRowsOf(inUsualColours(image));
    if (!result)
        *error = text(QT_TRANSLATE_NOOP("ParameterPicture", "There is no memory for \"%1\"."), info.fileName());
    return result;
}

Ref<CVPixelBuffer> thumbnailOf(const CVPixelBuffer& picture, int width, int height)
{
    const auto image = imageOver(picture);
    const auto size = image.size().scaled(width, height, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
    return bufferWithRowsOf(image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                                .convertToFormat(QImage::Format_ARGB32_Premultiplied));
}

Ref<CVPixelBuffer> copyOf(const CVPixelBuffer& picture)
{
    return bufferWithRowsOf(imageOver(picture));
}

}
