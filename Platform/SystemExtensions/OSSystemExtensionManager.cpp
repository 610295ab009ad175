#include "Platform/SystemExtensions/OSSystemExtensionManager.h"

#include "Platform/CoreFoundation/FailPoint.h"
#include "Platform/Foundation/NSError.h"
#include "Platform/SystemExtensions/ExtensionProgram.h"
#include "Platform/SystemExtensions/ExtensionRegistration.h"
#include "Platform/SystemExtensions/RunningExtension.h"

#include <fstream>

namespace {

constexpr std::chrono::seconds startLimit { 10 };
constexpr std::chrono::seconds endLimit { 5 };

std::string identifierOf(OSSystemExtensionRequest& request)
{
    return std::string(textOf(request.identifier()));
}

/// Calls the delegate on the request's queue, if it has the operation.
void tell(const Ref<OSSystemExtensionRequest>& request, SEL selector,
    std::function<void(OSSystemExtensionRequestDelegate&)> message)
{
    dispatch_async(request->queue(), [request, selector, message = std::move(message)] {
        const auto delegate = request->delegate();
        auto* const receiver = kindOf<OSSystemExtensionRequestDelegate>(delegate);
        if (receiver && delegate->respondsToSelector(selector))
            message(*receiver);
    });
}

void finish(const Ref<OSSystemExtensionRequest>& request)
{
    tell(request, "request:didFinishWithResult:", [request](OSSystemExtensionRequestDelegate& delegate) {
        delegate.request_didFinishWithResult(request, OSSystemExtensionRequestCompleted);
    });
}

void fail(const Ref<OSSystemExtensionRequest>& request, const ExtensionFailure& failure)
{
    const auto error = NSError::errorWithMessage(OSSystemExtensionErrorDomain, failure.code, failure.message);
    tell(request, "request:didFailWithError:", [request, error](OSSystemExtensionRequestDelegate& delegate) {
        delegate.request_didFailWithError(request, error);
    });
}

/// The last that a detached extension said, to tell why it does not answer.
std::string lastLogLine()
{
    std::ifstream log(CameraWire::SocketPath::folder() + "/" + std::string(CameraWire::SocketPath::kLogName));
    std::string last;
    for (std::string line; std::getline(log, line);)
        last = line;
    return last.empty() ? last : " (" + last + ")";
}

std::optional<ExtensionFailure> waitForAnswer(const ExtensionProgram& program)
{
    const auto running = FAIL_POINT("OSSystemExtensionAnswer") ? std::nullopt : RunningExtension::find(startLimit);
    if (!running)
        return ExtensionFailure { OSSystemExtensionErrorUnknown,
            "The camera extension was started but does not answer" + lastLogLine() + "." };
    if (running->identifier() != program.identifier || running->version() != program.version)
        return ExtensionFailure { OSSystemExtensionErrorValidationFailed,
            "Another camera extension answers: " + running->identifier() + " " + running->version() + "." };
    return std::nullopt;
}

/// Starts \p program in place of whatever runs and waits until it answers; one that does not leaves nothing behind.
std::optional<ExtensionFailure> start(const ExtensionProgram& program)
{
    // Ended first, so that the one that answers afterwards is the new one.
    if (auto existing = RunningExtension::find(); existing && !existing->end(endLimit))
        return ExtensionFailure { OSSystemExtensionErrorUnknown, "The camera extension that runs does not end." };
    ExtensionRegistration registration(program.identifier);
    auto failure = registration.install(program);
    if (!failure)
        failure = waitForAnswer(program);
    if (failure) {
        registration.undoInstall();
        RunningExtension::removeFiles();
    }
    return failure;
}

void complete(const Ref<OSSystemExtensionRequest>& request, const std::optional<ExtensionFailure>& failure)
{
    if (failure)
        fail(request, *failure);
    else
        finish(request);
}

/// Asks whether the extension that runs may be replaced, and goes on, on \p queue, when the answer is there.
void activateInPlaceOf(const RunningExtension& existing, const ExtensionProgram& program,
    const Ref<OSSystemExtensionRequest>& request, const Ref<dispatch_queue>& queue)
{
    const auto properties = [](const std::string& identifier, const std::string& version) {
        const auto identifierString = CFString::create(identifier);
        const auto versionString = CFString::create(version);
        return make<OSSystemExtensionProperties>(identifierString, versionString);
    };
    dispatch_async(request->queue(),
        [request, queue, program, existing = properties(existing.identifier(), existing.version()),
            replacement = properties(program.identifier, program.version)] {
            auto action = OSSystemExtensionReplacementActionReplace;
            const auto delegate = request->delegate();
            auto* const receiver = kindOf<OSSystemExtensionRequestDelegate>(delegate);
            if (receiver && delegate->respondsToSelector("request:actionForReplacingExtension:withExtension:"))
                action = receiver->request_actionForReplacingExtension_withExtension(request, existing, replacement);
            dispatch_async(queue, [request, program, action] {
                if (action == OSSystemExtensionReplacementActionReplace)
                    complete(request, start(program));
                else
                    fail(request, { OSSystemExtensionErrorRequestCanceled, "The camera extension that runs is kept." });
            });
        });
}

void activate(const Ref<OSSystemExtensionRequest>& request, const Ref<dispatch_queue>& queue)
{
    ExtensionProgram program;
    if (const auto failure = ExtensionProgram::find(identifierOf(*request), program))
        return fail(request, *failure);
    if (const auto existing = RunningExtension::find())
        return activateInPlaceOf(*existing, program, request, queue);
    complete(request, start(program));
}

std::optional<ExtensionFailure> deactivate(const std::string& identifier)
{
    ExtensionRegistration registration(identifier);
    auto running = RunningExtension::find();
    const bool isRunning = running && running->identifier() == identifier;
    if (!isRunning && !registration.exists())
        return ExtensionFailure { OSSystemExtensionErrorExtensionNotFound, "The camera extension is not installed." };
    if (auto failure = registration.remove())
        return failure;
    if (isRunning && !running->end(endLimit))
        return ExtensionFailure { OSSystemExtensionErrorUnknown, "The camera extension does not end." };
    RunningExtension::removeFiles();
    return std::nullopt;
}

}

NS_IMPLEMENTATION(OSSystemExtensionManager, NSObject)
{
    type.message("submitRequest:", &OSSystemExtensionManager::submitRequest);
}

OSSystemExtensionManager::OSSystemExtensionManager()
    : mQueue(dispatch_queue_create("OSSystemExtensionManager"))
{
}

OSSystemExtensionManager* OSSystemExtensionManager::sharedManager()
{
    // Lives until the process ends: requests may be under way then.
    static OSSystemExtensionManager* const manager = make<OSSystemExtensionManager>().leak();
    return manager;
}

void OSSystemExtensionManager::submitRequest(OSSystemExtensionRequest* request)
{
    if (!isPresent(request) || !request->queue())
        return;
    dispatch_async(mQueue, [request = Ref<OSSystemExtensionRequest>(request), queue = mQueue] {
        if (request->kind() == OSSystemExtensionRequest::Kind::Activation)
            activate(request, queue);
        else
            complete(request, deactivate(identifierOf(*request)));
    });
}
