#pragma once

/// Finds functions by name at run time, in frameworks that are named by their path.
///
/// The paths of the frameworks lead to the implementation that is linked into this program. All functions may be called
/// from any thread.
namespace DynamicLinker {

/// Opens the framework at \p path.
///
/// \return a handle that is never closed; null for a path that names no framework of ours or where the platform fails
/// ("dlopen")
void* dlopen(const char* path, int mode);

/// The address of \p symbol in the opened framework; null for a null handle, an unknown symbol, or where the platform
/// fails ("dlsym").
void* dlsym(void* handle, const char* symbol);

/// The address of a function of type \p F, to be called; null for null.
template <class F> F* functionAt(void* address)
{
    return reinterpret_cast<F*>(address);
}

}
