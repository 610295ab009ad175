#include "tests/AppKit/Quick/QuickTest.h"
#include "Tovrin09/Resources/TovrinIcons.h"

#include <QIcon>
#include <QImage>

namespace {

constexpr std::array sizes { 16, 24, 32, 48, 64, 128, 256, 512 };

/// The file that an installation copies for that size.
QString fileOf(int size)
{
    return QStringLiteral(ICON_FOLDER "/%1x%1/apps/org.tovrin.Tovrin.png").arg(size);
}

}

TEST(TovrinIcons, AreTheFilesOfAllSizes)
{
    const auto icons = tovrinIcons();
    ASSERT_EQ(icons.size(), sizes.size());
    for (std::size_t index = 0; index < sizes.size(); ++index) {
        EXPECT_EQ(icons[index].size, sizes[index]);
        QFile file(fileOf(sizes[index]));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << sizes[index];
        const auto bytes = file.readAll();
        EXPECT_TRUE(std::ranges::equal(icons[index].bytes, bytes, {}, {}, [](char byte) {
            return static_cast<unsigned char>(byte);
        })) << sizes[index];
    }
}

class WindowIcon : public QuickTest { };

TEST_F(WindowIcon, IsThePictureOfItsSizeInEachSize)
{
    const auto icon = QGuiApplication::windowIcon();
    auto available = icon.availableSizes();
    std::ranges::sort(available, {}, &QSize::width);
    ASSERT_EQ(static_cast<std::size_t>(available.size()), sizes.size());
    for (std::size_t index = 0; index < sizes.size(); ++index) {
        const QSize size(sizes[index], sizes[index]);
        EXPECT_EQ(available[static_cast<int>(index)], size);
        const auto picture = icon.pixmap(size).toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied);
        const auto file = QImage(fileOf(size.width())).convertToFormat(QImage::Format_ARGB32_Premultiplied);
        ASSERT_EQ(file.size(), size);
        EXPECT_EQ(picture, file) << size.width();
    }
    EXPECT_EQ(QGuiApplication::desktopFileName(), QStringLiteral("org.tovrin.Tovrin"));
}
