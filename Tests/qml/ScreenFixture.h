#pragma once

#include <QEvent>
#include <QList>
#include <QMimeData>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QUrl>
#include <QVariant>
#include <QVariantMap>

#include <memory>

class QQuickItem;

/// What the screen tests need from outside QML, as the context property `fixture`: scratch folders and
/// files, the Notes stand-in's library and log, drags from the file manager, the urls handed to the desktop,
/// and screenshots.
class ScreenFixture : public QObject
{
    Q_OBJECT

public:
    explicit ScreenFixture(QObject *parent = nullptr);
    ~ScreenFixture() override;

    /// A migration report, an export result and an analysis summary, as the controllers publish them, with
    /// the fields named in `fields` set and the others at their initial values: for the screens that are
    /// shown on their own, and for controller stand-ins.
    Q_INVOKABLE QVariant migrationReport(const QVariantMap &fields) const;
    Q_INVOKABLE QVariant exportResult(const QVariantMap &fields) const;
    Q_INVOKABLE QVariant analysisSummary(const QVariantMap &fields) const;

    /// A new, empty folder in the scratch area.
    Q_INVOKABLE QString makeDir();
    Q_INVOKABLE void writeFile(const QString &root, const QString &relativePath, const QString &text);
    Q_INVOKABLE bool exists(const QString &path) const;
    Q_INVOKABLE QString readFile(const QString &path) const;
    /// Every file below `root`, as sorted relative paths.
    Q_INVOKABLE QStringList files(const QString &root) const;
    Q_INVOKABLE QUrl url(const QString &path) const { return QUrl::fromLocalFile(path); }

    /// Replaces the stand-in's Notes library with `json` (its library format).
    Q_INVOKABLE void seedNotes(const QString &json);
    /// The stand-in's library, parsed.
    Q_INVOKABLE QVariant notesLibrary() const;
    /// How many times the stand-in ran `program` ("list-folders", "create-note", ...) since the last reset.
    Q_INVOKABLE int scriptRuns(const QString &program) const;
    Q_INVOKABLE void clearScriptLog();
    /// Turns one of the stand-in's switches on (a value) or off (empty).
    Q_INVOKABLE void setNotesSwitch(const QString &name, const QString &value);

    /// A drag from the file manager carrying `urls` enters the middle of `target`.
    Q_INVOKABLE bool dragEnter(QQuickItem *target, const QList<QUrl> &urls);
    /// The same, with plain text instead of urls (a note dragged out of Notes).
    Q_INVOKABLE bool dragTextEnter(QQuickItem *target, const QString &text);
    Q_INVOKABLE void dragLeave(QQuickItem *target);
    /// Drops what the last dragEnter carried on the middle of `target`.
    Q_INVOKABLE bool drop(QQuickItem *target);

    /// The urls given to the desktop to open (the schemes "notes" and "file"), in order.
    Q_INVOKABLE QVariantList openedUrls() const;
    Q_INVOKABLE void clearOpenedUrls() { m_opened.clear(); }

    /// Writes the window holding `item` to the screenshot folder as NAME.png, and drawn in the dark
    /// appearance as NAME-dark.png; returns the path of the first, or nothing when either failed.
    Q_INVOKABLE QString screenshot(QQuickItem *item, const QString &name);

    /// The colours down the middle column of `item` as the window draws it, top to bottom.
    Q_INVOKABLE QVariantList middleColumn(QQuickItem *item) const;
    /// Draws the screens in the dark appearance (true) or the light one (false) from now on.
    Q_INVOKABLE void setDarkAppearance(bool dark);

public slots:
    void openUrl(const QUrl &url) { m_opened.append(url); }

private:
    bool sendDrag(QQuickItem *target, QEvent::Type type);

    QTemporaryDir m_scratch;
    int m_dirs = 0;
    std::unique_ptr<QMimeData> m_dragData;
    QList<QUrl> m_opened;
};
