// What every program of a sanitizer build is told, compiled in so that it holds however the program is started.
//
// A suppression names a leak that is meant, or a report that belongs to a library which is not built with the
// sanitizer, and has its reason beside it. Nothing of the tree's own may be suppressed for any other reason.

extern "C" {

const char* __asan_default_options()
{
#ifdef TOVRIN_READS_JPEG
    // libyuv's JPEG decoder gives arrays back as if they were single objects, which no suppression can name.
    return "detect_stack_use_after_return=1:alloc_dealloc_mismatch=0";
#else
    return "detect_stack_use_after_return=1";
#endif
}

const char* __ubsan_default_options()
{
    return "print_stacktrace=1";
}

const char* __tsan_default_options()
{
    return "second_deadlock_stack=1";
}

const char* __lsan_default_suppressions()
{
    // The PulseAudio client library keeps its connection when no sound server answers the search for microphones.
    return "leak:libpulse.so\n"
           // What an interface file made lives until the process ends, its windows too; Qt Quick drops the textures of
           // the icons in a window that is still there at the end.
           "leak:QSGTexture::QSGTexture\n";
}

const char* __tsan_default_suppressions()
{
    // These libraries are not built with the sanitizer, so it sees their calls of the C library but none of the atomic
    // operations by which they order them. A report names one of them only for such a call of its own: what the tree's
    // code does is still seen, also beneath them.
    return "race:libglib-2.0.so\n"
           "race:libgobject-2.0.so\n"
           "race:libgstreamer-1.0.so\n"
           "race:libjpeg.so\n"
           "race:libpulse.so\n"
           "race:libpulsecommon\n"
           "race:libQt6Core.so\n"
           "race:libQt6Gui.so\n"
           "race:libQt6Qml.so\n"
           "race:libQt6Quick.so\n"
           "race:swrast_dri.so\n";
}

} // extern "C"
