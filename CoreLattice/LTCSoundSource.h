#pragma once

#include <cstddef>
#include <functional>
#include <vector>

/// Where compositions with sound inputs get the sound that they show: whoever has a microphone says so here.
///
/// Asked once for each picture of such a composition, and never otherwise, so a program without one pays nothing.
class LTCSoundSource {
public:
    /// Gives the newest samples, oldest first, from -1 to 1, one channel, at 48,000 a second: as many as there are, up
    /// to the count. Called on the render thread; it must not wait for anything that waits for a picture.
    using Provider = std::function<std::vector<float>(std::size_t count)>;

    /// From now on the sound comes from \p provider; an empty one means silence. Any thread.
    static void setProvider(Provider provider);
    /// The newest samples; fewer than \p count, or none, when there are no more. Any thread.
    static std::vector<float> latestSamples(std::size_t count);
};
