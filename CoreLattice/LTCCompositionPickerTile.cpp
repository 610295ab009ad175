#include "CoreLattice/LTCCompositionPickerTile.h"

#include "Platform/Foundation/NSPathUtilities.h"

NS_IMPLEMENTATION(LTCCompositionPickerTile, NSObject)
{
    type.key("name", &LTCCompositionPickerTile::name);
    type.key("explanation", &LTCCompositionPickerTile::explanation);
    type.key("usable", &LTCCompositionPickerTile::isUsable);
    type.key("layer", &LTCCompositionPickerTile::layer);
}

LTCCompositionPickerTile::LTCCompositionPickerTile(QCComposition* composition)
    : mComposition(composition)
    , mLayer(CALayer::layer())
{
    mLayer->setContentsGravity(kCAGravityResizeAspectFill);
    mLayer->setOpaque(true);
}

LTCCompositionPickerTile::LTCCompositionPickerTile(LTCUnusableComposition* unusable)
    : mUnusable(unusable)
    , mLayer(CALayer::layer())
{
}

NSObject* LTCCompositionPickerTile::subject() const
{
    if (mComposition)
        return mComposition;
    return mUnusable;
}

CFString* LTCCompositionPickerTile::name() const
{
    return mComposition ? mComposition->name() : lastPathComponent(mUnusable->name());
}

CFString* LTCCompositionPickerTile::explanation() const
{
    return mComposition ? mComposition->attributes()->get<CFString>(LTCCompositionDescriptionKey) : mUnusable->reason();
}

CVPixelBuffer* LTCCompositionPickerTile::thumbnail() const
{
    return kindOf<CVPixelBuffer>(mLayer->contents());
}

void LTCCompositionPickerTile::setThumbnail(CVPixelBuffer* thumbnail)
{
    mLayer->setContents(thumbnail);
}
