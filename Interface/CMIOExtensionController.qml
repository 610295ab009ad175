import QtQuick
import Tovrin.Interface
import "Controls"

/// The output window: what goes to the virtual camera, the camera's state, and its installation.
InterfaceFile {
    FileOwner {
        className: "CMIOExtensionController"

        Outlet { name: "window"; object: outputWindow }
        Outlet { name: "outletViewController"; object: viewController }
        Outlet { name: "outletExtensionController"; object: extensionRequests }
        Outlet { name: "outletSurfaceRenderer"; object: surfaceRenderer }
    }

    InterfaceObject {
        id: viewController
        className: "CMIOOutputViewController"

        Outlet { name: "view"; object: outputView }
        Outlet { name: "outletDeviceConnectionController"; object: connectionController }
        Outlet { name: "outletCameraDeviceController"; object: deviceController }
        Outlet { name: "outletPixelsView"; object: pixels }
        Outlet { name: "outletTableView"; object: statusRows }
    }
    InterfaceObject {
        id: connectionController
        className: "ZVCMIODeviceConnectionController"
    }
    InterfaceObject {
        id: deviceController
        className: "ZVCMIOClientDeviceController"

        Outlet { name: "delegate"; object: viewController }
    }
    InterfaceObject {
        id: extensionRequests
        className: "ZVCMIOSystemExtensionController"

        Outlet { name: "delegate"; object: viewController }
    }
    InterfaceObject {
        id: surfaceRenderer
        className: "ZVCMIOOutputSurfaceRenderer"
    }
    TableRows {
        id: statusRows
        className: "NSTableView"

        Outlet { name: "dataSource"; object: viewController }
        Outlet { name: "delegate"; object: viewController }
    }

    InterfaceWindow {
        id: outputWindow
        className: "NSWindow"
        title: qsTr("Virtual Camera Output")
        width: 640
        height: 606
        minimumWidth: 480
        minimumHeight: 460
        color: Theme.window
    }

    InterfaceView {
        id: outputView
        className: "NSView"

        InterfaceView {
            id: pixels
            className: "AVCapturePixelBufferView"
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: parent.top
            anchors.bottom: statusArea.top
            Accessible.role: Accessible.Graphic
            Accessible.name: qsTr("Picture for the virtual camera")
        }

        Rectangle {
            id: statusArea
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.bottom: buttonBar.top
            height: 36 + 4 * 28 + Theme.smallSpace
            color: Theme.window

            Text {
                x: Theme.space
                height: 36
                text: qsTr("Virtual camera")
                color: Theme.secondaryText
                font.pixelSize: Theme.smallTextSize + 1
                font.weight: Font.DemiBold
                verticalAlignment: Text.AlignVCenter
            }
            StatusTable {
                anchors.fill: parent
                anchors.topMargin: 36
                label: qsTr("Virtual camera status")
                rows: statusRows.rows
            }
        }

        Rectangle {
            id: buttonBar
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.bottom: parent.bottom
            height: 60
            color: Theme.panel

            Rectangle {
                anchors.left: parent.left
                anchors.right: parent.right
                height: 1
                color: Theme.line
            }
            Row {
                anchors.right: parent.right
                anchors.rightMargin: Theme.space
                anchors.verticalCenter: parent.verticalCenter
                spacing: Theme.space

                PushButton {
                    text: qsTr("Remove")
                    iconSource: "qrc:/Interface/Icons/remove.svg"
                    Accessible.name: qsTr("Remove the virtual camera")

                    ControlLink { className: "NSButton"; target: extensionRequests; action: "actionRemoveExtension:" }
                }
                PushButton {
                    prominent: true
                    text: qsTr("Install")
                    iconSource: "qrc:/Interface/Icons/install.svg"
                    Accessible.name: qsTr("Install the virtual camera")

                    ControlLink { className: "NSButton"; target: extensionRequests; action: "actionInstallExtension:" }
                }
            }
        }
    }
}
