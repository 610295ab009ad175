import QtQuick.Dialogs

/// Asks for a picture's file: the desktop's own dialog where there is one.
FileDialog {
    signal chosen(string url)

    title: qsTr("Choose a Picture")
    nameFilters: [qsTr("Pictures") + " (*.png *.jpg *.jpeg *.webp *.gif *.bmp *.tif *.tiff *.svg)", qsTr("All files") + " (*)"]
    onAccepted: chosen(selectedFile.toString())
}
