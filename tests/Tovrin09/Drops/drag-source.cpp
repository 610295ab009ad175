// A small window out of which files are dragged, as out of a file manager: drag-source X Y FILE...
//
// Writes one line for each drag that has ended: "copied" when somebody took the files, otherwise "refused".

#include <QDrag>
#include <QGuiApplication>
#include <QMimeData>
#include <QMouseEvent>
#include <QRasterWindow>
#include <QUrl>

#include <cstdio>

namespace {

class SourceWindow : public QRasterWindow {
public:
    explicit SourceWindow(QList<QUrl> files)
        : mFiles(std::move(files))
    {
    }

protected:
    void mouseMoveEvent(QMouseEvent* event) override
    {
        if (event->buttons() != Qt::LeftButton || mIsDragging)
            return;
        mIsDragging = true;
        // Belongs to the drag's end.
        auto* const drag = new QDrag(this); // NOLINT(cppcoreguidelines-owning-memory)
        auto* const data = new QMimeData; // NOLINT(cppcoreguidelines-owning-memory)
        data->setUrls(mFiles);
        drag->setMimeData(data);
        const auto action = drag->exec(Qt::CopyAction | Qt::MoveAction, Qt::MoveAction);
        std::puts(action == Qt::CopyAction ? "copied" : "refused");
        std::fflush(stdout);
        mIsDragging = false;
    }

private:
    const QList<QUrl> mFiles;
    bool mIsDragging = false;
};

}

int main(int argumentCount, char** arguments)
{
    QGuiApplication application(argumentCount, arguments);
    const auto given = QGuiApplication::arguments();
    QList<QUrl> files;
    for (const auto& file : given.mid(3))
        files.append(QUrl::fromLocalFile(file));
    SourceWindow window(files);
    window.setFlags(Qt::FramelessWindowHint);
    window.setTitle("Drag Source");
    window.setGeometry(given.value(1).toInt(), given.value(2).toInt(), 60, 60);
    window.show();
    return QGuiApplication::exec();
}
