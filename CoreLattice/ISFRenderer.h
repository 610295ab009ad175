#pragma once

#include "CoreLattice/BroughtTextures.h"
#include "CoreLattice/ISFDocument.h"
#include "CoreLattice/ISFPassProgram.h"
#include "Platform/CoreFoundation/CFType.h"
#include "Platform/OpenGL/PictureTexture.h"

#include <chrono>
#include <map>

namespace CoreLattice {

/// What one input has at the moment of a render.
struct ISFValue {
    ISFInput::Numbers numbers {};
    Ref<CVPixelBuffer> picture;
    std::uint64_t pictureSerial = 0; ///< another one for each picture that was set, also for the same buffer again
};

/// Everything that one render looks at.
struct ISFFrame {
    double time = 0; ///< seconds
    std::size_t width = 0;
    std::size_t height = 0;
    std::vector<ISFValue> values; ///< one for each input of the document, in its order
    std::vector<float> sound; ///< the newest samples, for inputs that show them
};

/// A composition compiled for the current context, with its textures and what its persistent buffers hold. Everything,
/// the destructor too, belongs to the thread of the context.
class ISFRenderer {
public:
    /// \return null with the reason when the driver refuses the shaders, and when the pictures that the composition
    /// brings
    ///     are larger than those of any may be
    static std::unique_ptr<ISFRenderer> create(std::shared_ptr<const ISFDocument> document, CompositionError* error);

    /// For `create`.
    ISFRenderer(std::shared_ptr<const ISFDocument> document, std::vector<std::unique_ptr<ISFPassProgram>> programs);

    /// Renders all passes and copies the picture into \p output, a BGRA buffer of the frame's size, opaque, rows from
    /// the top.
    /// \return false when a buffer of a pass cannot be had and, with the reason in \p error, when the composition asks
    ///     for more memory or time than any may have; it should not be rendered again then
    bool render(const ISFFrame& frame, CVPixelBuffer& output, CompositionError* error);

    /// Has the driver compile all that rendering \p frame needs, which software drivers do only when something is
    /// drawn, and renders the passes that are rendered only once. To be called before the first render. \return false
    /// as `render` does
    bool prepare(const ISFFrame& frame, CompositionError* error);

    /// The context was lost and everything with it; only the destructor may follow.
    void forget() noexcept;

    const std::shared_ptr<const ISFDocument>& document() const noexcept { return mDocument; }

private:
    /// What the first render is taken to last, about which nothing is known.
    static constexpr std::chrono::seconds firstDuration { 1 };
    /// Where passes render to. A persistent one has a second texture: the one that is read while the other is written.
    struct Target {
        PictureTexture textures[2];
        int front = 0;
        bool persistent = false;
        bool floatingPoint = false;
        bool nearest = false;
        /// What the texture was rendered from, for a pass that is rendered only when that changes.
        std::vector<ISFInput::Numbers> renderedFrom;
    };
    bool begin(const ISFFrame& frame, CompositionError* error);
    bool fitsMemory(const ISFFrame& frame, CompositionError* error) const;
    bool drawInTime(const ISFPassProgram& program, std::size_t width, std::size_t height);
    static void drawOnePixel();
    const PictureTexture* preparePass(std::size_t index, const ISFFrame& frame, const ISFPassValues& values);
    CompositionError tooSlow() const;
    bool isWholePicture(const PictureTexture& result, const ISFFrame& frame) const;
    bool copyOpaque(const PictureTexture& result, const ISFFrame& frame);
    static void makeOpaque(const PictureTexture& picture);
    void uploadPictures(const ISFFrame& frame);
    ISFPassValues valuesOf(const ISFFrame& frame) const;
    void bindTextures(const ISFPassProgram& program, const Target* written, std::size_t width, std::size_t height);
    std::pair<std::size_t, std::size_t> passSize(const ISFPass& pass, const ISFFrame& frame) const;
    const PictureTexture* renderPass(std::size_t index, const ISFFrame& frame, const ISFPassValues& values);
    const PictureTexture* setUpPass(std::size_t index, const ISFFrame& frame, ISFPassValues values);
    Target* targetOf(const ISFPass& pass);
    static bool needsRender(Target& target, const ISFFrame& frame, std::size_t width, std::size_t height);
    void uploadSounds(const ISFFrame& frame);
    void bindTexture(GLint location, GLint& unit, GLuint texture, bool nearest);
    void bindBrought(const ISFPassProgram& program, GLint& unit);

    const std::shared_ptr<const ISFDocument> mDocument;
    const std::vector<std::unique_ptr<ISFPassProgram>> mPrograms; ///< one for each pass
    GLSampler mSmooth;
    GLSampler mNearest;
    std::vector<PictureTexture> mPictures;
    std::vector<std::uint64_t> mPictureSerials;
    std::vector<SoundTexture> mSounds;
    ImportedTextures mImports;
    std::map<std::string, Target, std::less<>> mTargets;
    PictureTexture mOutput;
    PictureTexture mCopy;
    PictureTexture mBlack;
    double mLastTime = 0;
    int mFrameIndex = 0;
    std::chrono::steady_clock::time_point mStart; ///< of the present render
    std::chrono::steady_clock::duration mLastDuration = firstDuration;
    bool mTookTooLong = false;
};

}
