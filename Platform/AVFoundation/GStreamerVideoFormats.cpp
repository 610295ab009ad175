#include "Platform/AVFoundation/GStreamerVideoFormats.h"

#include "Platform/AVFoundation/H264VideoReader.h"
#include "Platform/AVFoundation/JPEGVideoReader.h"
#include "Platform/AVFoundation/RawVideoReader.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace {

constexpr double wantedRate = GStreamerVideoFormat::wantedRate;
constexpr double leastRate = 24;

/// The values that a field of whole numbers can take, a range by the one nearest to \p preferred.
std::vector<int> integersOf(const GValue* value, int preferred)
{
    if (!value)
        return {};
    if (G_VALUE_HOLDS_INT(value))
        return { g_value_get_int(value) };
    if (GST_VALUE_HOLDS_INT_RANGE(value)) {
        const int least = gst_value_get_int_range_min(value);
        const int step = std::max(1, gst_value_get_int_range_step(value));
        const int clamped = std::clamp(preferred, least, gst_value_get_int_range_max(value));
        return { least + (clamped - least) / step * step };
    }
    std::vector<int> result;
    if (GST_VALUE_HOLDS_LIST(value)) {
        for (guint i = 0; i < gst_value_list_get_size(value); ++i)
            std::ranges::copy(integersOf(gst_value_list_get_value(value, i), preferred), std::back_inserter(result));
    }
    return result;
}

struct Fraction {
    int numerator = 0;
    int denominator = 1;
    double value() const { return static_cast<double>(numerator) / denominator; }
};

Fraction fractionIn(const GValue* value)
{
    return { gst_value_get_fraction_numerator(value), std::max(1, gst_value_get_fraction_denominator(value)) };
}

/// The rate of a field that is nearest to the wanted one.
Fraction rateOf(const GValue* value)
{
    if (!value)
        return {};
    if (GST_VALUE_HOLDS_FRACTION(value))
        return fractionIn(value);
    if (GST_VALUE_HOLDS_FRACTION_RANGE(value)) {
        const auto least = fractionIn(gst_value_get_fraction_range_min(value));
        const auto most = fractionIn(gst_value_get_fraction_range_max(value));
        if (most.value() < wantedRate)
            return most;
        return least.value() > wantedRate ? least : Fraction { static_cast<int>(wantedRate), 1 };
    }
    Fraction best;
    if (GST_VALUE_HOLDS_LIST(value)) {
        for (guint i = 0; i < gst_value_list_get_size(value); ++i) {
            const auto rate = rateOf(gst_value_list_get_value(value, i));
            if (std::abs(rate.value() - wantedRate) < std::abs(best.value() - wantedRate))
                best = rate;
        }
    }
    return best;
}

/// The texts that a field can take; one empty text where it is not told.
std::vector<std::string> textsOf(const GValue* value)
{
    if (value && GST_VALUE_HOLDS_LIST(value)) {
        std::vector<std::string> result;
        for (guint i = 0; i < gst_value_list_get_size(value); ++i)
            std::ranges::copy(textsOf(gst_value_list_get_value(value, i)), std::back_inserter(result));
        return result;
    }
    return { value && G_VALUE_HOLDS_STRING(value) && g_value_get_string(value) ? g_value_get_string(value) : "" };
}

/// How dear it is to make BGRA of a form; raw pictures that GStreamer has to convert first are the dearest.
int readingCost(const GStreamerVideoFormat& format)
{
    if (format.mediaType == JPEGVideoReader::mediaType)
        return 1;
    if (format.mediaType == H264VideoReader::mediaType)
        return 2;
    return RawVideoReader::readsDirectly(format.pixelFormat) ? 0 : 3;
}

bool canBeRead(const char* mediaType)
{
    const GstCapsOwner readable(gst_caps_from_string(VideoSampleReader::readableCaps));
    for (guint i = 0; i < gst_caps_get_size(readable.get()); ++i)
        if (gst_structure_has_name(gst_caps_get_structure(readable.get(), i), mediaType))
            return true;
    return false;
}

/// Orders by suitability: what comes first is better.
auto rank(const GStreamerVideoFormat& format, CMVideoDimensions preferred)
{
    const auto [width, height] = format.dimensions;
    const bool isFast = format.rateNumerator == 0 || format.rate() >= leastRate;
    const bool covers = width >= preferred.width && height >= preferred.height;
    const long area = static_cast<long>(width) * height;
    // The rest of a smaller picture is cut away before it is made larger.
    const auto part = VideoFrameConverter::partWithProportions(format.dimensions, preferred);
    const long used = covers ? 0 : static_cast<long>(part.width) * part.height;
    const double rate = format.rateNumerator == 0 ? wantedRate : format.rate();
    return std::tuple(format.isGrey(), !isFast, !covers, -used, area, std::abs(rate - wantedRate), readingCost(format));
}

}

GstCapsOwner GStreamerVideoFormat::caps() const
{
    GstCapsOwner result(gst_caps_new_empty_simple(mediaType.c_str()));
    if (!pixelFormat.empty())
        gst_caps_set_simple(result.get(), "format", G_TYPE_STRING, pixelFormat.c_str(), nullptr);
    gst_caps_set_simple(
        result.get(), "width", G_TYPE_INT, dimensions.width, "height", G_TYPE_INT, dimensions.height, nullptr);
    if (rateNumerator > 0)
        gst_caps_set_simple(result.get(), "framerate", GST_TYPE_FRACTION, rateNumerator, rateDenominator, nullptr);
    return result;
}

std::vector<GStreamerVideoFormat> GStreamerVideoFormatsOf(const GstCaps* caps, CMVideoDimensions preferred)
{
    std::vector<GStreamerVideoFormat> result;
    if (!caps || gst_caps_is_any(caps))
        return result;
    for (guint i = 0; i < gst_caps_get_size(caps); ++i) {
        const GstCapsFeatures* const features = gst_caps_get_features(caps, i);
        if (features && !gst_caps_features_is_equal(features, GST_CAPS_FEATURES_MEMORY_SYSTEM_MEMORY))
            continue;
        const GstStructure* const structure = gst_caps_get_structure(caps, i);
        const auto widths = integersOf(gst_structure_get_value(structure, "width"), preferred.width);
        const auto heights = integersOf(gst_structure_get_value(structure, "height"), preferred.height);
        const auto rate = rateOf(gst_structure_get_value(structure, "framerate"));
        if (!canBeRead(gst_structure_get_name(structure)))
            continue;
        GStreamerVideoFormat format;
        format.mediaType = gst_structure_get_name(structure);
        format.rateNumerator = rate.numerator;
        format.rateDenominator = rate.denominator;
        for (const auto& pixelFormat : textsOf(gst_structure_get_value(structure, "format"))) {
            format.pixelFormat = pixelFormat;
            for (const int width : widths) {
                for (const int height : heights) {
                    format.dimensions = { width, height };
                    if (width > 0 && height > 0)
                        result.push_back(format);
                }
            }
        }
    }
    std::ranges::stable_sort(
        result, [preferred](const auto& a, const auto& b) { return rank(a, preferred) < rank(b, preferred); });
    return result;
}
