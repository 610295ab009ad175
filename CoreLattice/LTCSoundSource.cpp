#include "CoreLattice/LTCSoundSource.h"

#include <memory>
#include <mutex>

namespace {

struct Present {
    std::mutex lock;
    std::shared_ptr<const LTCSoundSource::Provider> provider;
};

Present& present()
{
    // Never destroyed, since rendering goes on while static objects are.
    static Present& instance = *std::make_unique<Present>().release();
    return instance;
}

}

void LTCSoundSource::setProvider(Provider provider)
{
    auto shared = provider ? std::make_shared<const Provider>(std::move(provider)) : nullptr;
    const std::lock_guard lock(present().lock);
    present().provider.swap(shared);
}

std::vector<float> LTCSoundSource::latestSamples(std::size_t count)
{
    std::shared_ptr<const Provider> provider;
    {
        const std::lock_guard lock(present().lock);
        provider = present().provider;
    }
    auto samples = provider ? (*provider)(count) : std::vector<float>();
    if (samples.size() > count)
        samples.erase(samples.begin(), samples.end() - static_cast<std::ptrdiff_t>(count));
    return samples;
}
