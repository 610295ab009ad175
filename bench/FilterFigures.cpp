#include "DrawnPictures.h"
#include "Figures.h"
#include "ProcessorTime.h"

#include "CoreLattice/LTCCompositionRepository.h"
#include "CoreLattice/LTCView.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace {

struct Filter {
    FigureName figure;
    const char* composition;
};

constexpr std::array filters {
    Filter { { "filter-protocol", "ms/frame", "1280x720 through Protocol, the picture's way in and out included" },
        "QCImageFilterProtocol" },
    Filter { { "filter-radar", "ms/frame", "the same through Radar" }, "QCImageFilterRadar" },
    Filter { { "filter-retro", "ms/frame", "the same through Retro" }, "QCImageFilterRetro" },
    Filter { { "filter-gamma", "ms/frame", "the same through a filter that does next to nothing" }, "gamma adjust" },
};

double measure(const char* name, double seconds, const std::vector<Ref<CVPixelBuffer>>& pictures)
{
    const AutoreleasePool pool;
    const auto identifier = CFString::create(name);
    auto* const repository = LTCCompositionRepository::sharedCompositionRepository();
    repository->registerApplicationCompositionWithName(identifier);
    auto* const composition = LTCCompositionRepository::compositionWithName(identifier);
    if (!composition)
        throw std::runtime_error(std::string("there is no filter ") + name);
    const auto view = make<LTCView>();
    view->loadComposition(composition);
    int frame = 0;
    const auto render = [&](int frames) {
        for (const int end = frame + frames; frame < end; ++frame) {
            const AutoreleasePool framePool;
            view->setValue_forInputKey(
                pictures[static_cast<std::size_t>(frame) % pictures.size()], QCCompositionInputImageKey);
            if (!view->renderAtTime_arguments(frame / 30.0, make<CFDictionary>().get()))
                throw std::runtime_error(std::string("nothing was rendered by ") + name);
        }
    };
    render(10); // the driver compiles at the first one
    const int frames = std::max(1, static_cast<int>(seconds * 30));
    const double start = processorMilliseconds();
    render(frames);
    return (processorMilliseconds() - start) / frames;
}

}

const std::vector<FigureName>& filterFigures()
{
    static const std::vector<FigureName> figures = [] {
        std::vector<FigureName> all;
        for (const auto& filter : filters)
            all.push_back(filter.figure);
        return all;
    }();
    return figures;
}

void measureFilters(const BenchRequest& request)
{
    const auto pictures = drawnPictures();
    for (const auto& [figure, composition] : filters)
        if (request.wants(figure.name))
            printFigure(request, figure, measure(composition, request.seconds, pictures));
}
