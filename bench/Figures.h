#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

/// One figure that the benchmark can print.
struct FigureName {
    std::string_view name;
    std::string_view unit;
    std::string_view meaning;
};

/// What was asked for and for how long each stage is to be measured.
struct BenchRequest {
    std::set<std::string, std::less<>> names;
    double seconds = 20;
    bool wants(std::string_view name) const { return names.contains(name); }
    template <class Names> bool wantsAny(const Names& list) const
    {
        for (const FigureName& figure : list)
            if (wants(figure.name))
                return true;
        return false;
    }
};

/// Prints `name: value unit` if it was asked for.
void printFigure(const BenchRequest& request, const FigureName& figure, double value);

/// The requirement checks and their log, in this process.
const std::vector<FigureName>& checkFigures();
void measureChecks(const BenchRequest& request);

/// The movie writer alone, in this process.
const std::vector<FigureName>& writerFigures();
void measureWriter(const BenchRequest& request);

/// Pictures on their way from the camera to the delegate, in this process.
const std::vector<FigureName>& captureFigures();
void measureCapture(const BenchRequest& request);

/// Sound on its way from the microphone to the host clock, in this process.
const std::vector<FigureName>& soundFigures();
void measureSound(const BenchRequest& request);

/// The compositions, each alone in this process.
const std::vector<FigureName>& filterFigures();
void measureFilters(const BenchRequest& request);

/// Every composition that comes with the program at two sizes, with the shares of the picture's way in and out.
const std::vector<FigureName>& compositionFigures();
void measureCompositions(const BenchRequest& request);

/// The renderers that scale pictures, beside a library, in this process.
const std::vector<FigureName>& renderFigures();
void measureRenderers(const BenchRequest& request);

/// The pixel views on a screen in memory, in this process.
const std::vector<FigureName>& viewFigures();
void measureViews(const BenchRequest& request);

/// The picker of filters, and how steadily a view beside it is rendered, on a screen in memory, in this process.
const std::vector<FigureName>& pickerFigures();
void measurePicker(const BenchRequest& request);

/// The serial queues, and plain ones that do the same work, in this process.
const std::vector<FigureName>& dispatchFigures();
void measureDispatch(const BenchRequest& request);

/// The program, and the plain pipeline that does the same, in a session with a camera.
const std::vector<FigureName>& programFigures();
void measurePrograms(const BenchRequest& request);
