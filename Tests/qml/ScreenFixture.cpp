#include "ScreenFixture.h"

#include "Controllers.h"
#include "Migrator.h"
#include "NotesExporter.h"
#include "Presentation.h"

#include <QDesktopServices>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QJsonDocument>
#include <QMetaProperty>
#include <QPalette>
#include <QProcess>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSaveFile>
#include <QtMath>

using namespace Qt::StringLiterals;

namespace {

using Pairs = QList<std::pair<QString, QString>>;

/// Pairs given as two-element lists.
Pairs pairsFrom(const QVariantList &list)
{
    Pairs pairs;
    for (const QVariant &item : list) {
        const QStringList pair = item.toStringList();
        pairs.append({ pair.value(0), pair.value(1) });
    }
    return pairs;
}

/// A Gadget whose properties are set from the fields of the same names in `fields`.
template<typename Gadget> QVariant gadgetFrom(const QVariantMap &fields)
{
    Gadget gadget;
    const QMetaObject &type = Gadget::staticMetaObject;
    for (int i = type.propertyOffset(); i < type.propertyCount(); ++i) {
        const QMetaProperty property = type.property(i);
        const auto field = fields.constFind(QString::fromLatin1(property.name()));
        if (field == fields.cend())
            continue;
        if (property.metaType() == QMetaType::fromType<Pairs>())
            property.writeOnGadget(&gadget, QVariant::fromValue(pairsFrom(field->toList())));
        else
            property.writeOnGadget(&gadget, *field);
    }
    return QVariant::fromValue(gadget);
}

} // namespace

ScreenFixture::ScreenFixture(QObject *parent)
    : QObject(parent)
{
    QDesktopServices::setUrlHandler(u"notes"_s, this, "openUrl");
    QDesktopServices::setUrlHandler(u"file"_s, this, "openUrl");
}

ScreenFixture::~ScreenFixture()
{
    QDesktopServices::unsetUrlHandler(u"notes"_s);
    QDesktopServices::unsetUrlHandler(u"file"_s);
}

QVariant ScreenFixture::migrationReport(const QVariantMap &fields) const
{
    return gadgetFrom<Migrator::Report>(fields);
}

QVariant ScreenFixture::exportResult(const QVariantMap &fields) const
{
    return gadgetFrom<NotesExporter::Result>(fields);
}

QVariant ScreenFixture::analysisSummary(const QVariantMap &fields) const
{
    return gadgetFrom<Presentation::AnalysisSummary>(fields);
}

QString ScreenFixture::makeDir()
{
    const QString path = m_scratch.path() + u"/dir"_s + QString::number(++m_dirs);
    QDir().mkpath(path);
    return path;
}

void ScreenFixture::writeFile(const QString &root, const QString &relativePath, const QString &text)
{
    const QString path = root + u'/' + relativePath;
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(text.toUtf8());
}

bool ScreenFixture::exists(const QString &path) const
{
    return QFileInfo::exists(path);
}

QString ScreenFixture::readFile(const QString &path) const
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QStringList ScreenFixture::files(const QString &root) const
{
    QStringList found;
    QDirIterator it(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext())
        found.append(QDir(root).relativeFilePath(it.next()));
    found.sort();
    return found;
}

void ScreenFixture::seedNotes(const QString &json)
{
    QSaveFile file(qEnvironmentVariable("VELLORAN_FAKE_NOTES"));
    if (file.open(QIODevice::WriteOnly)) {
        file.write(json.toUtf8());
        file.commit();
    }
}

QVariant ScreenFixture::notesLibrary() const
{
    // The stand-in keeps what its runs change beside the library file until asked to write it there.
    QProcess::execute(QStringLiteral(VELLORAN_FAKE_OSASCRIPT),
        { u"--library"_s, qEnvironmentVariable("VELLORAN_FAKE_NOTES"), u"--sync"_s });
    QFile file(qEnvironmentVariable("VELLORAN_FAKE_NOTES"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).toVariant();
}

int ScreenFixture::scriptRuns(const QString &program) const
{
    QFile file(qEnvironmentVariable("VELLORAN_FAKE_NOTES_LOG"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    int runs = 0;
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (!line.isEmpty() && QJsonDocument::fromJson(line)[u"program"_s].toString() == program)
            ++runs;
    }
    return runs;
}

void ScreenFixture::clearScriptLog()
{
    QFile::remove(qEnvironmentVariable("VELLORAN_FAKE_NOTES_LOG"));
}

void ScreenFixture::setNotesSwitch(const QString &name, const QString &value)
{
    if (value.isEmpty())
        qunsetenv(name.toUtf8().constData());
    else
        qputenv(name.toUtf8().constData(), value.toUtf8());
}

bool ScreenFixture::sendDrag(QQuickItem *target, QEvent::Type type)
{
    if (!target || !target->window())
        return false;
    const QPoint point = target->mapToScene(QPointF(target->width() / 2, target->height() / 2)).toPoint();
    QQuickWindow *window = target->window();
    if (type == QEvent::DragLeave) {
        QDragLeaveEvent leave;
        QCoreApplication::sendEvent(window, &leave);
        return true;
    }
    if (!m_dragData)
        return false;
    if (type == QEvent::Drop) {
        QDropEvent drop(point, Qt::CopyAction, m_dragData.get(), Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(window, &drop);
        return drop.isAccepted();
    }
    QDragEnterEvent enter(point, Qt::CopyAction, m_dragData.get(), Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(window, &enter);
    QDragMoveEvent move(point, Qt::CopyAction, m_dragData.get(), Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(window, &move);
    return move.isAccepted();
}

bool ScreenFixture::dragEnter(QQuickItem *target, const QList<QUrl> &urls)
{
    m_dragData = std::make_unique<QMimeData>();
    m_dragData->setUrls(urls);
    return sendDrag(target, QEvent::DragEnter);
}

bool ScreenFixture::dragTextEnter(QQuickItem *target, const QString &text)
{
    m_dragData = std::make_unique<QMimeData>();
    m_dragData->setText(text);
    return sendDrag(target, QEvent::DragEnter);
}

void ScreenFixture::dragLeave(QQuickItem *target)
{
    sendDrag(target, QEvent::DragLeave);
}

bool ScreenFixture::drop(QQuickItem *target)
{
    return sendDrag(target, QEvent::Drop);
}

QVariantList ScreenFixture::openedUrls() const
{
    QVariantList urls;
    for (const QUrl &url : m_opened)
        urls.append(url.toString());
    return urls;
}

QVariantList ScreenFixture::middleColumn(QQuickItem *item) const
{
    QVariantList colours;
    if (!item || !item->window())
        return colours;
    const QImage image = item->window()->grabWindow();
    const QRectF box = item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
    const int x = qRound(box.center().x() * image.devicePixelRatio());
    for (int y = qCeil(box.top() * image.devicePixelRatio()); y < qFloor(box.bottom() * image.devicePixelRatio()); ++y)
        colours.append(QVariant::fromValue(image.pixelColor(x, y)));
    return colours;
}

void ScreenFixture::setDarkAppearance(bool dark)
{
    useAppearance(dark ? Appearance::Dark : Appearance::Light);
}

QString ScreenFixture::screenshot(QQuickItem *item, const QString &name)
{
    if (!item || !item->window())
        return {};
    const QString folder = QStringLiteral(VELLORAN_SCREENSHOT_DIR);
    QDir().mkpath(folder);
    const QString path = folder + u'/' + name + u".png"_s;
    QQuickWindow *window = item->window();
    // Under the screen, the window's colour from the palette, as the application's window has it (the test
    // window is white of its own).
    const QColor testBackground = window->color();
    const auto grab = [window](const QString &file) {
        applyApplicationPalette(window);
        window->setColor(QGuiApplication::palette().color(QPalette::Window));
        return window->grabWindow().save(file);
    };
    const bool light = grab(path);
    // The same state in the dark appearance, then back to light for the rest of the test.
    useAppearance(Appearance::Dark);
    const bool dark = grab(folder + u'/' + name + u"-dark.png"_s);
    useAppearance(Appearance::Light);
    applyApplicationPalette(window);
    window->setColor(testBackground);
    return light && dark ? path : QString();
}
