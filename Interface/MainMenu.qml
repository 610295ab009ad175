import QtQml
import Tovrin.Interface

InterfaceFile {
    FileOwner {
        id: application
        className: "NSApplication"

        Outlet { name: "delegate"; object: appDelegate }
    }
    InterfaceObject {
        id: appDelegate
        className: "AppDelegateObjC"

        Outlet { name: "outletWindowController"; object: windowController }
        Outlet { name: "outletExtensionController"; object: extensionController }
    }
    InterfaceObject {
        className: "TovrinPreferencesController"
    }
    InterfaceObject {
        id: windowController
        className: "LTCCamWindowController"

        Outlet { name: "delegate"; object: appDelegate }
    }
    InterfaceObject {
        id: extensionController
        className: "CMIOExtensionController"
    }

    InterfaceMainMenu {
        InterfaceMenuItem {
            title: qsTr("Tovrin")

            InterfaceMenuItem { title: qsTr("Quit"); keyEquivalent: "Ctrl+Q"; target: application; action: "terminate:" }
        }
        InterfaceMenuItem {
            title: qsTr("Capture")

            InterfaceMenuItem {
                title: qsTr("Take Snapshot")
                keyEquivalent: "Ctrl+S"
                target: windowController
                action: "actionButtonSavePNG:"
            }
            InterfaceMenuItem {
                title: qsTr("Start or Stop Recording")
                keyEquivalent: "Ctrl+R"
                target: windowController
                action: "actionButtonStartStopRecording:"
            }
        }
        InterfaceMenuItem {
            title: qsTr("Window")

            InterfaceMenuItem {
                title: qsTr("Output Window")
                keyEquivalent: "Ctrl+Shift+O"
                target: windowController
                action: "actionFakeWebCamPanel:"
            }
        }
    }
}
