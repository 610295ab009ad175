#pragma once

#include <gst/gst.h>

#include <memory>
#include <string>

/// Owners of what GStreamer counts; for the sources of this folder only.

struct GstObjectDeleter {
    void operator()(gpointer object) const noexcept { gst_object_unref(object); }
};
template <class T> using GstOwned = std::unique_ptr<T, GstObjectDeleter>;

struct GstMiniDeleter {
    void operator()(GstCaps* caps) const noexcept { gst_caps_unref(caps); }
    void operator()(GstSample* sample) const noexcept { gst_sample_unref(sample); }
    void operator()(GstStructure* structure) const noexcept { gst_structure_free(structure); }
    void operator()(GError* error) const noexcept { g_error_free(error); }
    void operator()(gchar* text) const noexcept { g_free(text); }
};
using GstCapsOwner = std::unique_ptr<GstCaps, GstMiniDeleter>;
using GstSampleOwner = std::unique_ptr<GstSample, GstMiniDeleter>;
using GstStructureOwner = std::unique_ptr<GstStructure, GstMiniDeleter>;
using GErrorOwner = std::unique_ptr<GError, GstMiniDeleter>;
using GTextOwner = std::unique_ptr<gchar, GstMiniDeleter>;
