// tovrin-bench prints one figure a line, as "name: value unit".

#include "Figures.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include <unistd.h>

namespace {

std::vector<FigureName> allFigures()
{
    auto figures = checkFigures();
    figures.insert(figures.end(), dispatchFigures().begin(), dispatchFigures().end());
    figures.insert(figures.end(), writerFigures().begin(), writerFigures().end());
    figures.insert(figures.end(), captureFigures().begin(), captureFigures().end());
    figures.insert(figures.end(), soundFigures().begin(), soundFigures().end());
    figures.insert(figures.end(), filterFigures().begin(), filterFigures().end());
    figures.insert(figures.end(), compositionFigures().begin(), compositionFigures().end());
    figures.insert(figures.end(), renderFigures().begin(), renderFigures().end());
    figures.insert(figures.end(), viewFigures().begin(), viewFigures().end());
    figures.insert(figures.end(), pickerFigures().begin(), pickerFigures().end());
    figures.insert(figures.end(), programFigures().begin(), programFigures().end());
    return figures;
}

int usage()
{
    std::fputs("usage: tovrin-bench [--seconds N] [--list] [NAME...]\n\n"
               "Prints one figure a line. Without names, all of them.\n",
        stderr);
    return 2;
}

void list()
{
    for (const auto& [name, unit, meaning] : allFigures())
        std::printf("%-20.*s %-9.*s %.*s\n", static_cast<int>(name.size()), name.data(), static_cast<int>(unit.size()),
            unit.data(), static_cast<int>(meaning.size()), meaning.data());
}

}

void printFigure(const BenchRequest& request, const FigureName& figure, double value)
{
    if (!request.wants(figure.name))
        return;
    std::printf("%.*s: %.2f %.*s\n", static_cast<int>(figure.name.size()), figure.name.data(), value,
        static_cast<int>(figure.unit.size()), figure.unit.data());
    std::fflush(stdout);
}

int main(int count, char** arguments)
{
    const auto figures = allFigures();
    BenchRequest request;
    for (int index = 1; index < count; ++index) {
        const std::string_view argument = arguments[index];
        if (argument == "--list") {
            list();
            return 0;
        }
        if (argument == "--seconds" && index + 1 < count) {
            request.seconds = std::atof(arguments[++index]);
            continue;
        }
        const bool isKnown = std::any_of(
            figures.begin(), figures.end(), [&](const FigureName& figure) { return figure.name == argument; });
        if (!isKnown) {
            std::fprintf(stderr, "tovrin-bench: there is no figure \"%s\"\n", arguments[index]);
            return usage();
        }
        request.names.emplace(argument);
    }
    if (request.seconds <= 0)
        return usage();
    if (request.names.empty())
        for (const auto& figure : figures)
            request.names.emplace(figure.name);

    // The programs want cameras and a display of their own, which nothing else disturbs.
    if (request.wantsAny(programFigures()) && !std::getenv("TOVRIN_SESSION")) {
        std::vector<char*> command { const_cast<char*>(SESSION_PROGRAM), const_cast<char*>("--") };
        command.insert(command.end(), arguments, arguments + count + 1);
        ::execv(SESSION_PROGRAM, command.data());
        std::perror("tovrin-bench: cannot start " SESSION_PROGRAM);
        return 1;
    }
    try {
        if (request.wantsAny(checkFigures()))
            measureChecks(request);
        if (request.wantsAny(dispatchFigures()))
            measureDispatch(request);
        if (request.wantsAny(writerFigures()))
            measureWriter(request);
        if (request.wantsAny(captureFigures()))
            measureCapture(request);
        if (request.wantsAny(soundFigures()))
            measureSound(request);
        if (request.wantsAny(renderFigures()))
            measureRenderers(request);
        if (request.wantsAny(filterFigures()))
            measureFilters(request);
        if (request.wantsAny(compositionFigures()))
            measureCompositions(request);
        if (request.wantsAny(viewFigures()))
            measureViews(request);
        if (request.wantsAny(pickerFigures()))
            measurePicker(request);
        if (request.wantsAny(programFigures()))
            measurePrograms(request);
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "tovrin-bench: %s\n", exception.what());
        return 1;
    }
    return 0;
}
