#pragma once

#include "Platform/Foundation/NSObject.h"

namespace CoreLattice {
struct ISFDocument;
}

/// The input that takes the picture to work on.
inline CFString* const QCCompositionInputImageKey = CFSTR("inputImage");
/// The two inputs of a transition.
inline CFString* const QCCompositionInputSourceImageKey = CFSTR("inputSourceImage");
inline CFString* const QCCompositionInputDestinationImageKey = CFSTR("inputDestinationImage");
/// The pointer's place, from 0 at the left and at the bottom to 1.
inline CFString* const QCCompositionInputXKey = CFSTR("inputX");
inline CFString* const QCCompositionInputYKey = CFSTR("inputY");
/// The rendered picture.
inline CFString* const QCCompositionOutputImageKey = CFSTR("outputImage");

/// Compositions that turn one picture into another.
inline CFString* const QCCompositionProtocolImageFilter = CFSTR("image filter");

/// A composition was chosen; `userInfo` has it at the key "QCComposition".
inline CFString* const QCCompositionPickerPanelDidSelectCompositionNotification
    = CFSTR("QCCompositionPickerPanelDidSelectCompositionNotification");

/// A view took up another composition: object, the view; `userInfo` has the composition at the key "QCComposition".
/// Posted on the thread that loaded it.
inline CFString* const LTCViewDidLoadCompositionNotification = CFSTR("LTCViewDidLoadCompositionNotification");

/// A view gave up a composition that cannot be rendered: object, the view; `userInfo` has the composition at the key
/// "QCComposition" and the text of the reason, with file and line where there are any, at the key "reason". Posted on
/// the main thread; when another composition came back for it, the notification of its load follows.
inline CFString* const LTCViewDidRefuseCompositionNotification = CFSTR("LTCViewDidRefuseCompositionNotification");

/// Keys of a composition's attributes: two texts, an array of texts, and whether it is too dear for a machine whose
/// processor draws. The attributes hold, besides, a dictionary for each port at the port's key.
inline CFString* const LTCCompositionNameKey = CFSTR("name");
inline CFString* const LTCCompositionDescriptionKey = CFSTR("description");
inline CFString* const LTCCompositionCategoriesKey = CFSTR("categories");
inline CFString* const LTCCompositionWantsGPUKey = CFSTR("wantsGPU");

/// Keys of a port's attributes.
///
/// type: one of the type texts below; label: the text that people read, never null; unit: of a number, the text behind
/// it, null for none; values, labels: two arrays of equal length, the numbers and the texts of a menu's choices, for
/// menus only; default, minimum, maximum in the form of the port's value:
///
/// | Type | Value |
/// | --- | --- |
/// | number | a `CFNumber` |
/// | boolean | a `CFBoolean` |
/// | menu | a `CFNumber`, the value of the choice and not its place |
/// | color | a `CFArray` of four `CFNumber`s: red, green, blue, alpha from 0 to 1 |
/// | point | a `CFArray` of two `CFNumber`s: x from the left, y from the bottom, in the composition's unit |
/// | event | a `CFBoolean`, true for one render |
/// | image | a `CVPixelBuffer` (BGRA) or a `CIImage` |
///
/// Images and events have none of the three; the others always have a default, and the bounds that the composition
/// gives.
inline CFString* const LTCPortTypeKey = CFSTR("type");
inline CFString* const LTCPortLabelKey = CFSTR("label");
inline CFString* const LTCPortUnitKey = CFSTR("unit");
inline CFString* const LTCPortDefaultKey = CFSTR("default");
inline CFString* const LTCPortMinimumKey = CFSTR("minimum");
inline CFString* const LTCPortMaximumKey = CFSTR("maximum");
inline CFString* const LTCPortValuesKey = CFSTR("values");
inline CFString* const LTCPortLabelsKey = CFSTR("labels");

inline CFString* const LTCPortTypeNumber = CFSTR("number");
inline CFString* const LTCPortTypeBoolean = CFSTR("boolean");
inline CFString* const LTCPortTypeMenu = CFSTR("menu");
inline CFString* const LTCPortTypeColor = CFSTR("color");
inline CFString* const LTCPortTypePoint = CFSTR("point");
inline CFString* const LTCPortTypeEvent = CFSTR("event");
inline CFString* const LTCPortTypeImage = CFSTR("image");

/// A program that turns pictures and numbers into a picture: one file in the Interactive Shader Format, a fragment
/// shader whose JSON header declares its inputs.
///
/// Unchanging, so any thread may read it. Copies share the parsed file and are equal to their original.
class QCComposition final : public NSObject {
    NS_OBJECT(QCComposition)
public:
    /// \param identifier  what tells compositions apart, such as "/sharpen"
    QCComposition(Ref<CFString> identifier, std::shared_ptr<const CoreLattice::ISFDocument> document);
    ~QCComposition() override;

    /// What was given; never null.
    CFString* identifier() const { return mIdentifier; }
    /// The name that people read; never null.
    CFString* name() const;
    /// What the composition says about itself, with an entry for each port; see the keys above.
    CFDictionary* attributes() const { return mAttributes; }
    /// The keys of the inputs, in the order in which the file declares them; never null.
    CFArray* inputKeys() const { return mInputKeys; }
    /// Whether the composition has the ports that the protocol demands; false for null and for an unknown protocol.
    bool conformsToProtocol(CFString* protocol) const;
    /// Another object for the same composition.
    Ref<QCComposition> copy() const;

    const std::shared_ptr<const CoreLattice::ISFDocument>& document() const { return mDocument; }

    bool isEqual(CFType* other) override;
    CFHashCode hash() override;
    std::string description() override;

private:
    const Ref<CFString> mIdentifier;
    const std::shared_ptr<const CoreLattice::ISFDocument> mDocument;
    const Ref<CFDictionary> mAttributes;
    const Ref<CFArray> mInputKeys;
};
