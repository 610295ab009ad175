#pragma once

/// Runs the load-time initialisers of this library, once, in their order: the cached null object, the log queue, and
/// the registration of the log's end.
///
/// They run by themselves before `main`. A program with initialisers of its own that must come after them calls this
/// first from the object that runs its own, since the order between the objects of different source files is open.
void WithRequirementsRunLoadTimeInitialisers();
