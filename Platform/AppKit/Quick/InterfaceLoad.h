#pragma once

#include "Platform/Foundation/NSObject.h"

#include <QList>
#include <QObject>
#include <QQmlError>

#include <functional>
#include <string>
#include <vector>

/// One interface file while it is being loaded: its owner, the objects that it made, and what is to be done when all of
/// its elements are there. Main thread.
///
/// Elements made later, by a list that got longer, find no load in progress: their steps run at once, and their errors
/// are logged.
class InterfaceLoad {
public:
    enum class Step { Outlets, Actions, Bindings };

    explicit InterfaceLoad(NSObject* owner);
    ~InterfaceLoad();
    InterfaceLoad(const InterfaceLoad&) = delete;
    InterfaceLoad& operator=(const InterfaceLoad&) = delete;

    /// The load in progress, null when there is none.
    static InterfaceLoad* current();
    NSObject* owner() const { return mOwner; }

    /// Makes an object of the class and keeps it for as long as the process runs; reports for \p element when there is
    /// no such class or it makes no objects, and then the result is null.
    static NSObject* makeObject(QObject* element, const QString& className);
    /// Runs \p action when the file is complete, those of an earlier step first.
    static void whenComplete(Step step, std::function<void()> action);
    /// Reports what is wrong with an element, with its file and line.
    static void report(const QObject* element, const QString& message);

    void addErrors(const QList<QQmlError>& errors);
    /// Runs the steps, then sends `awakeFromNib` to the objects, in the order in which the file names them, unless
    /// there was an error.
    void complete();
    bool hasErrors() const { return !mErrors.empty(); }
    /// One line for each error: file, line and what is wrong.
    std::string errorText() const;

private:
    const Ref<NSObject> mOwner;
    InterfaceLoad* const mOuter;
    std::vector<Ref<NSObject>> mObjects;
    std::vector<std::pair<Step, std::function<void()>>> mSteps;
    std::vector<std::string> mErrors;
};
