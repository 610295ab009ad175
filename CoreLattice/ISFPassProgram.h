#pragma once

#include "CoreLattice/ISFDocument.h"
#include "Platform/OpenGL/GLNames.h"

#include <map>
#include <memory>

namespace CoreLattice {

/// What the format's own values are for one pass.
struct ISFPassValues {
    float width = 0;
    float height = 0;
    float time = 0;
    float timeDelta = 0;
    std::array<float, 4> date {};
    int frameIndex = 0;
};

/// A composition's shaders compiled for one of its passes. The pass's number is a constant in them, so that the driver
/// leaves out what belongs to the other passes; software drivers would do it all otherwise. Render thread only.
class ISFPassProgram {
public:
    /// \return null with the reason when the driver refuses the shaders
    static std::unique_ptr<ISFPassProgram> create(
        const ISFDocument& document, std::size_t pass, CompositionError* error);
    /// For `create`.
    ISFPassProgram(GLProgram program, const ISFDocument& document, bool leavesPixels, bool isOpaque);

    void use(const ISFPassValues& values) const;
    /// Sets an input other than a picture, of the program in use.
    void setInput(std::size_t index, ISFInputType type, const ISFInput::Numbers& numbers) const;
    /// Where a picture's unit is to be set, -1 when the pass does not read it.
    struct Picture {
        GLint location = -1;
        GLint nearLocation = -1; ///< of the form that is read only where it is drawn
    };
    const Picture& picture(const std::string& name) const;
    /// Whether it may leave pixels as they are, so that they must be black before.
    bool leavesPixels() const noexcept { return mLeavesPixels; }
    /// Whether what it draws without a target is opaque.
    bool isOpaque() const noexcept { return mIsOpaque; }
    /// The context was lost and the program with it.
    void forget() noexcept { mProgram.forget(); }

private:
    GLProgram mProgram;
    struct {
        GLint size, time, timeDelta, date, frame;
    } mLocations {};
    std::vector<GLint> mInputs;
    bool mLeavesPixels = false;
    bool mIsOpaque = false;
    std::map<std::string, Picture> mPictures;
};

}
