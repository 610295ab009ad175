import QtQuick
import Tovrin.Interface
import "Controls"

/// The main window: the picture, the compositions below it, their parameters beside it, and the capture controls.
InterfaceFile {
    FileOwner {
        id: owner
        className: "LTCCamWindowController"

        Outlet { name: "window"; object: mainWindow }
        Outlet { name: "outletQCView"; object: picture }
        Outlet { name: "outletQCParameterView"; object: parameters }
        Outlet { name: "outletQCPickerView"; object: picker }
        Outlet { name: "outletMovieWriter"; object: movieWriter }
        Outlet { name: "outletRevealMovies"; object: moviesFolder }
        Outlet { name: "outletRevealPictures"; object: picturesFolder }
        Outlet { name: "outletCaptureFormat"; object: captureFormat }
        Outlet { name: "outletProcessedFormat"; object: processedFormat }
        Outlet { name: "outletButtonStartStopRecording"; object: recordControl }
    }

    InterfaceObject {
        id: movieWriter
        className: "AVCaptureFilteredMovieWriterController"

        Outlet { name: "delegate"; object: owner }
    }
    InterfaceObject {
        id: recorder
        className: "AVRecorderController"

        Outlet { name: "recorder"; object: movieWriter }
    }
    InterfaceObject {
        className: "LTCCaptureDeviceFollower"

        Outlet { name: "outletMovieWriter"; object: movieWriter }
        Outlet { name: "outletRecorder"; object: recorder }
    }
    InterfaceObject {
        id: captureFormat
        className: "CMFormatDescriptionModel"
    }
    InterfaceObject {
        id: processedFormat
        className: "CMFormatDescriptionModel"
    }

    KeyBinding { id: cameraNames; object: recorder; keyPath: "videoDeviceNames" }
    KeyBinding { id: cameraName; object: recorder; keyPath: "selectedVideoDeviceName" }
    KeyBinding {
        id: cameraSize
        object: recorder
        keyPath: "selectedVideoDeviceFormats"
        transformer: "NXTransformCaptureFormats"
    }
    KeyBinding {
        id: cameraRate
        object: recorder
        keyPath: "selectedVideoDeviceSupportedFrameRateRanges"
        transformer: "NXTransformCaptureFormats"
    }
    KeyBinding { id: captureSummary; object: captureFormat; keyPath: "tooltipSummary" }
    KeyBinding { id: recording; object: owner; keyPath: "recordingInProgress" }
    KeyBinding {
        id: recentMovie
        object: owner
        keyPath: "recentMovieRecordingURL"
        transformer: "NXTransformSandboxContainerURL"
    }
    KeyBinding {
        id: recentPicture
        object: owner
        keyPath: "recentPhotoSnapshotURL"
        transformer: "NXTransformSandboxContainerURL"
    }
    ElapsedTime { id: recordingTime; running: recording.value === true }

    InterfaceWindow {
        id: mainWindow
        className: "NSWindow"
        title: qsTr("Tovrin")
        // Where the screen has the room, the picture is shown pixel for pixel, which is sharpest and cheapest.
        readonly property bool roomy: Screen.desktopAvailableWidth >= 1580 && Screen.desktopAvailableHeight >= 970
        width: roomy ? 1280 + sidePanel.width : 1184
        height: roomy ? menuBar.height + 720 + pickerStrip.height + controlBar.height : 744
        minimumWidth: 1000
        minimumHeight: 560
        color: Theme.window

        Outlet { name: "delegate"; object: owner }

        ApplicationMenuBar {
            id: menuBar
            anchors.left: parent.left
            anchors.right: parent.right
        }

        InterfaceView {
            id: picture
            className: "QCViewWithImageFilterOutput"
            anchors.left: parent.left
            anchors.right: sidePanel.left
            anchors.top: menuBar.bottom
            anchors.bottom: pickerStrip.top
            Accessible.role: Accessible.Graphic
            Accessible.name: qsTr("Camera picture")

            Outlet { name: "delegate"; object: owner }
        }

        Rectangle {
            anchors.fill: picture
            visible: mainWindow.dropWelcome
            color: "#80000000"
            border.color: Theme.accent
            border.width: 3

            Text {
                anchors.centerIn: parent
                text: qsTr("Drop filters here to add them")
                color: Theme.text
                font.pixelSize: 20
                font.weight: Font.DemiBold
            }
        }

        Rectangle {
            id: sidePanel
            anchors.right: parent.right
            anchors.top: menuBar.bottom
            anchors.bottom: controlBar.top
            width: 272
            color: Theme.panel

            InterfaceView {
                id: parameters
                className: "LTCCompositionParameterView"
                anchors.fill: parent
                Accessible.role: Accessible.Pane
                Accessible.name: qsTr("Filter settings")
            }
        }

        Rectangle {
            id: pickerStrip
            anchors.left: parent.left
            anchors.right: sidePanel.left
            anchors.bottom: controlBar.top
            height: 132
            color: Theme.window

            InterfaceView {
                id: picker
                className: "LTCCompositionPickerView"
                anchors.fill: parent
                Accessible.role: Accessible.List
                Accessible.name: qsTr("Filters")
            }
        }

        Rectangle {
            id: controlBar
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.bottom: parent.bottom
            height: 64
            color: Theme.panel

            Rectangle {
                anchors.left: parent.left
                anchors.right: parent.right
                height: 1
                color: Theme.line
            }
            PopUpButton {
                id: cameraPopUp
                anchors.left: parent.left
                anchors.leftMargin: Theme.space
                y: 7
                width: 212
                label: qsTr("Camera")
                hint: captureSummary.value ? qsTr("Camera format: %1").arg(captureSummary.value) : ""
                iconSource: "qrc:/Interface/Icons/camera.svg"
                choices: cameraNames.value
                choice: cameraName.value ?? ""
                selection: cameraName
            }
            Text {
                anchors.left: cameraPopUp.left
                anchors.leftMargin: 12
                anchors.top: cameraPopUp.bottom
                anchors.topMargin: 3
                width: cameraPopUp.width - 24
                text: [cameraSize.value, cameraRate.value].filter(each => each).join(", ")
                color: Theme.secondaryText
                font.pixelSize: Theme.smallTextSize
                elide: Text.ElideRight
                Accessible.role: Accessible.StaticText
                Accessible.name: qsTr("Camera format %1").arg(text)
            }
            Row {
                id: buttons
                x: (cameraPopUp.x + 212 + folders.x - width) / 2
                anchors.verticalCenter: parent.verticalCenter
                spacing: Theme.space

                PushButton {
                    text: qsTr("Snapshot")
                    shortcutText: "Ctrl+S"
                    iconSource: "qrc:/Interface/Icons/snapshot.svg"

                    ControlLink { className: "NSButton"; target: owner; action: "actionButtonSavePNG:" }
                }
                PushButton {
                    width: 104
                    prominent: true
                    text: recording.value ? qsTr("Stop") : qsTr("Record")
                    shortcutText: "Ctrl+R"
                    iconSource: recording.value ? "qrc:/Interface/Icons/stop.svg" : "qrc:/Interface/Icons/record.svg"

                    ControlLink {
                        id: recordControl
                        className: "NSButton"
                        target: owner
                        action: "actionButtonStartStopRecording:"
                    }
                }
                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    width: 56
                    text: recordingTime.text
                    color: recording.value ? Theme.accent : Theme.disabledText
                    font.pixelSize: 16
                    font.weight: Font.DemiBold
                    Accessible.role: Accessible.StaticText
                    Accessible.name: qsTr("Recording time %1").arg(text)
                }
            }
            Row {
                id: folders
                anchors.right: parent.right
                anchors.rightMargin: Theme.space
                anchors.verticalCenter: parent.verticalCenter
                spacing: Theme.smallSpace

                FolderField {
                    id: moviesFolder
                    className: "NXRolloverTextFieldRevealFolder"
                    width: 216
                    caption: qsTr("Movies")
                    placeholder: qsTr("Show folder")
                    recentFile: recentMovie.value ?? ""
                    iconSource: "qrc:/Interface/Icons/movies.svg"
                }
                FolderField {
                    id: picturesFolder
                    className: "NXRolloverTextFieldRevealFolder"
                    width: 176
                    caption: qsTr("Pictures")
                    placeholder: qsTr("Show folder")
                    recentFile: recentPicture.value ?? ""
                    iconSource: "qrc:/Interface/Icons/pictures.svg"
                }
            }
        }
    }
}
