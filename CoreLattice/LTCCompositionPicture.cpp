#include "CoreLattice/LTCCompositionPicture.h"

#include "CoreLattice/LTCCompositionParameterView.h"
#include "CoreLattice/PictureFile.h"
#include "CoreLattice/QCComposition.h"
#include "Platform/CoreImage/CIImage.h"
#include "Platform/dispatch/dispatch.h"

#include <QCoreApplication>
#include <QStandardPaths>
#include <QUrl>

using CoreLattice::copyOf;
using CoreLattice::readChosenPicture;
using CoreLattice::thumbnailOf;

namespace {

/// Sharp on a screen of two pixels to the point.
constexpr int thumbnailWidth = 480;
constexpr int thumbnailHeight = 270;

CVPixelBuffer* pictureOf(CFType* value)
{
    if (const auto* const image = kindOf<CIImage>(value))
        return image->pixelBuffer();
    return kindOf<CVPixelBuffer>(value);
}

Ref<CVPixelBuffer> thumbnailOf(const CVPixelBuffer* picture)
{
    return picture && picture->pixelFormat() == kCVPixelFormatType_32BGRA
        ? thumbnailOf(*picture, thumbnailWidth, thumbnailHeight)
        : nullptr;
}

dispatch_queue_t readingQueue()
{
    // Never destroyed: a file may be being read while the process ends.
    static dispatch_queue* const queue = dispatch_queue_create("CoreLattice.pictures").leak();
    return queue;
}

}

NS_IMPLEMENTATION(LTCCompositionPicture, LTCCompositionParameter)
{
    type.message("useCurrentPicture", &LTCCompositionPicture::useCurrentPicture);
    type.key("layer", &LTCCompositionPicture::layer);
    type.key("hasPicture", &LTCCompositionPicture::hasPicture);
    type.key("firstFolderURL", &LTCCompositionPicture::firstFolderURL);
    type.key("isReading", &LTCCompositionPicture::isReading);
    type.key("problem", &LTCCompositionPicture::problem);
    type.key("pictureURL", &LTCCompositionPicture::pictureURL, &LTCCompositionPicture::setPictureURL);
    type.dependentKey("hasPicture", { "value" });
}

LTCCompositionPicture::LTCCompositionPicture(
    LTCCompositionParameterView* view, CFString* key, CFDictionary* attributes, CFType* value)
    : LTCCompositionParameter(view, key, attributes, value)
    , mLayer(CALayer::layer())
{
    mLayer->setContentsGravity(kCAGravityResizeAspect);
    mLayer->setContents(thumbnailOf(pictureOf(value)).get());
}

LTCCompositionPicture::~LTCCompositionPicture() = default;

Ref<CFString> LTCCompositionPicture::firstFolderURL() const
{
    const auto folder = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    return CFString::create(QUrl::fromLocalFile(folder).toString().toStdString());
}

void LTCCompositionPicture::setPictureURL(CFString* url)
{
    mURL = url ? url : CFSTR("");
    const auto reading = ++mReading;
    const QUrl place(QString::fromStdString(mURL->string()));
    if (!place.isLocalFile()) {
        const auto text = QCoreApplication::translate("ParameterPicture", "Only a file of this computer can be used.");
        setState(false, CFString::create(text.toStdString()).get());
        return;
    }
    setState(true, CFSTR(""));
    const auto path = place.toLocalFile().toStdString();
    dispatch_async(readingQueue(), [weakSelf = WeakRef { this }, reading, path] {
        {
            const auto self = weakSelf.strongReference();
            if (!self || self->mReading != reading)
                return;
        }
        std::string error;
        const auto picture = readChosenPicture(path, &error);
        const auto thumbnail = thumbnailOf(picture.get());
        dispatch_async(dispatch_get_main_queue(), [weakSelf, reading, picture, thumbnail, error] {
            const auto self = weakSelf.strongReference();
            if (!self || self->mReading != reading)
                return;
            if (picture)
                self->take(picture, thumbnail);
            else
                self->setState(false, CFString::create(error).get());
        });
    });
}

void LTCCompositionPicture::useCurrentPicture()
{
    const auto owner = view();
    const auto renderer = owner ? owner->compositionRenderer() : nullptr;
    const auto value = renderer ? renderer->valueForInputKey(QCCompositionInputImageKey) : nullptr;
    const auto* const present = pictureOf(value);
    // A copy, since the camera's buffers go round.
    const auto picture
        = present && present->pixelFormat() == kCVPixelFormatType_32BGRA ? copyOf(*present) : Ref<CVPixelBuffer>();
    if (picture) {
        setValue(picture);
        return;
    }
    ++mReading;
    const auto text = QCoreApplication::translate("ParameterPicture", "There is no picture yet.");
    setState(false, CFString::create(text.toStdString()).get());
}

void LTCCompositionPicture::apply(Ref<CFType> value)
{
    auto* const picture = pictureOf(value);
    take(picture, thumbnailOf(picture).get());
}

void LTCCompositionPicture::take(CVPixelBuffer* picture, CVPixelBuffer* thumbnail)
{
    ++mReading;
    mLayer->setContents(thumbnail);
    LTCCompositionParameter::apply(picture);
    setState(false, CFSTR(""));
}

void LTCCompositionPicture::setState(bool isReading, CFString* problem)
{
    const NSKeyValueChange readingChange(this, "isReading");
    const NSKeyValueChange problemChange(this, "problem");
    mIsReading = isReading;
    mProblem = problem;
}
