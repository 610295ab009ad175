#include "Platform/AppKit/NSApplication.h"

int main(int argc, char** argv)
{
    {
        const AutoreleasePool pool;
    }
    return NSApplicationMain(argc, argv);
}
