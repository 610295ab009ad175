#include "Tovrin09/LTCCamWindow/LTCCamWindowController.h"

#include "CoreLattice/LTCCompositionRepository.h"
#include "CoreLattice/LTCSoundSource.h"
#include "Platform/CoreImage/CIImage.h"
#include "Platform/dispatch/dispatch.h"
#include "WithRequirements/Requirements.h"

Ref<NSSet> LTCCamWindowController::copyHiddenCompositionIdentifiers()
{
    return make<NSSet>(std::initializer_list<CFType*> {
        CFSTR("/exposure adjust"), CFSTR("/gamma adjust"), CFSTR("/image resizer"), CFSTR("/sharpen") });
}

Ref<NSSet> LTCCamWindowController::copyHiddenProtocolKeys()
{
    return make<NSSet>(std::initializer_list<CFType*> { QCCompositionInputImageKey, QCCompositionInputSourceImageKey,
        QCCompositionInputDestinationImageKey, QCCompositionInputXKey, QCCompositionInputYKey });
}

void LTCCamWindowController::prepareCompositions()
{
    auto* const repository = LTCCompositionRepository::sharedCompositionRepository();
    for (const auto name : { "QCImageFilterProtocol", "QCImageFilterRadar", "QCImageFilterRetro" })
        repository->registerApplicationCompositionWithName(CFSTR(name));
    prepareSoundOfCompositions();
    prepareLTCCompositionPickerView();
    prepareLTCCompositionPreviewView();
    selectComposition(LTCCompositionRepository::compositionWithName(CFSTR("QCImageFilterProtocol")));
}

/// Compositions that show sound show the microphone's; silence while no session runs with one.
void LTCCamWindowController::prepareSoundOfCompositions()
{
    LTCSoundSource::setProvider([weakWriter = outletMovieWriter](std::size_t count) {
        const AutoreleasePool pool;
        const auto writer = weakWriter.strongReference();
        const auto* const connection = writer ? writer->audioConnection() : nullptr;
        return connection ? connection->latestSamples(count) : std::vector<float>();
    });
}

void LTCCamWindowController::prepareLTCCompositionPickerView()
{
    const auto view = outletQCPickerView.strongReference();
    if (!outletQCView.strongReference() || !view)
        return;
    auto* const picker = kindOf<LTCCompositionPickerViewProtocol>(view.get());
    if (!CFRequired(picker, "[self.outletQCPickerView conformsToProtocol:@protocol(LTCCompositionPickerViewProtocol)]"))
        return;
    // The delegate comes first: the picker asks it which compositions to include.
    picker->setDelegate(this);
    picker->setAllowsEmptySelection(true);
    picker->setShowsCompositionNames(true);
    picker->setCompositionsFromRepositoryWithProtocol_andAttributes(QCCompositionProtocolImageFilter, nullptr);
    picker->startAnimation(this);
}

void LTCCamWindowController::prepareLTCCompositionPreviewView() { }

void LTCCamWindowController::prepareLTCCompositionParameterView()
{
    const auto parameters = outletQCParameterView.strongReference();
    const auto view = outletQCView.strongReference();
    if (!parameters || !view)
        return;
    parameters->setCompositionRenderer(view);
    parameters->setDelegate(this);
}

void LTCCamWindowController::selectComposition(CFType* composition)
{
    auto* const selected = kindOf<QCComposition>(composition);
    if (!selected)
        return;
    const auto copy = selected->copy();
    if (!copy)
        return;
    if (const auto view = outletQCView.strongReference())
        view->loadComposition(copy);
    prepareLTCCompositionParameterView();
}

void LTCCamWindowController::_didSelectComposition(NSNotification* notification)
{
    auto* const userInfo = notification ? notification->userInfo() : nullptr;
    if (userInfo)
        selectComposition(userInfo->objectForKey("QCComposition"));
}

void LTCCamWindowController::compositionPickerView_didSelectComposition(
    LTCCompositionPickerView* /*view*/, QCComposition* composition)
{
    selectComposition(composition);
}

bool LTCCamWindowController::compositionPickerView_shouldIncludeComposition(
    LTCCompositionPickerView* /*view*/, QCComposition* composition)
{
    if (!hiddenCompositionIdentifiers())
        setHiddenCompositionIdentifiers(copyHiddenCompositionIdentifiers().get());
    auto* const hidden = hiddenCompositionIdentifiers();
    return !hidden || !composition || !hidden->containsObject(composition->identifier());
}

bool LTCCamWindowController::compositionParameterView_shouldDisplayParameterWithKey_attributes(
    LTCCompositionParameterView* /*view*/, CFString* key, CFDictionary* /*attributes*/)
{
    if (!hiddenProtocolKeys())
        setHiddenProtocolKeys(copyHiddenProtocolKeys().get());
    auto* const hidden = hiddenProtocolKeys();
    if (hidden && hidden->containsObject(key))
        return false;
    // Repeats the set on purpose.
    return textOf(key) != textOf(QCCompositionInputImageKey);
}

void LTCCamWindowController::compositionParameterView_didChangeParameterWithKey(
    LTCCompositionParameterView* /*view*/, CFString* /*key*/)
{
}

NSDragOperation LTCCamWindowController::draggingEntered(NSDraggingInfo* /*sender*/)
{
    // Whatever the files are: what cannot be taken is told after the drop.
    return NSDragOperationCopy;
}

bool LTCCamWindowController::performDragOperation(NSDraggingInfo* sender)
{
    auto paths = make<CFArray>();
    for (const auto& file : sender->draggedFileURLs()->values())
        paths->append(kindOf<NSURL>(file)->path());
    LTCCompositionRepository::sharedCompositionRepository()->addFiles_protocol_first(
        paths, QCCompositionProtocolImageFilter, [weakSelf = WeakRef { this }](QCComposition* filter) {
            if (const auto self = weakSelf.strongReference())
                self->selectComposition(filter);
        });
    return true;
}

void LTCCamWindowController::setQCPickerViewPreviewInputImage(CVPixelBufferRef videoImage)
{
    if (!CFRequiredNotCFNull(videoImage))
        return;
    if (!outletQCPickerView.strongReference())
        return;
    dispatch_async(dispatch_get_main_queue(),
        [self = Ref(this), frame = Ref(videoImage)] { self->setQCPickerViewPreviewInputImageOnMainThread(frame); });
}

void LTCCamWindowController::setQCPickerViewPreviewInputImageOnMainThread(CVPixelBufferRef videoImage)
{
    const auto thumbnail = _thumbnailPixelBufferWithPixelBuffer(videoImage);
    const auto source = CIImage::imageWithCVImageBuffer(thumbnail.pixelBuffer);
    const auto image = source ? source->imageByApplyingTransform(thumbnail.transform) : nullptr;
    if (auto* const picker = kindOf<LTCCompositionPickerViewProtocol>(outletQCPickerView.strongReference().get()))
        picker->setDefaultValue_forInputKey(image.get(), QCCompositionInputImageKey);
}

tagThumbnailImage LTCCamWindowController::_thumbnailPixelBufferWithPixelBuffer(CVPixelBufferRef videoImage)
{
    if (const auto renderer = outletThumbnailRenderer.strongReference(); isPresent(renderer.get())) {
        renderer->setInputPixelBuffer(videoImage);
        return { renderer->copyOutputPixelBuffer(), CGAffineTransformIdentity };
    }
    return { videoImage, CGAffineTransformMakeScale(0.25, 0.25) };
}
