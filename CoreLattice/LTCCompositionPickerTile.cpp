#include "CoreLattice/LTCCompositionPickerTile.h"

NS_IMPLEMENTATION(LTCCompositionPickerTile, NSObject)
{
    type.key("name", &LTCCompositionPickerTile::name);
    type.key("explanation", &LTCCompositionPickerTile::explanation);
    type.key("thumbnail", &LTCCompositionPickerTile::thumbnail);
    type.key("layer", &LTCCompositionPickerTile::layer);
}

LTCCompositionPickerTile::LTCCompositionPickerTile(QCComposition* composition)
    : mComposition(composition)
    , mLayer(CALayer::layer())
{
    mLayer->setContentsGravity(kCAGravityResizeAspectFill);
    mLayer->setOpaque(true);
}

CFString* LTCCompositionPickerTile::explanation() const
{
    return mComposition->attributes()->get<CFString>(LTCCompositionDescriptionKey);
}

CVPixelBuffer* LTCCompositionPickerTile::thumbnail() const
{
    return kindOf<CVPixelBuffer>(mLayer->contents());
}

void LTCCompositionPickerTile::setThumbnail(CVPixelBuffer* thumbnail)
{
    mLayer->setContents(thumbnail);
}
