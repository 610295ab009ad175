#pragma once

/// Groups changes of layers that are made on one thread: they show together when the outermost group ends.
///
/// Layers here never animate on their own, so disabling the actions changes nothing; it stands for callers that must
/// not depend on that.
class CATransaction {
public:
    static void begin();
    /// Without a `begin` on this thread it does nothing.
    static void commit();
    static void setDisableActions(bool disable);
    /// Of the innermost open group; false when none is open.
    static bool disableActions();
};
