#pragma once

#include <QObject>
#include <QProperty>
#include <QString>

/// What a running migration or export publishes while it runs, for the progress screen and velloran-cli's
/// progress line: how far it is (0 to 1), the note in hand and whether a run is under way. The migration
/// and export controllers derive from it and set these from the main thread.
class RunProgress : public QObject
{
    Q_OBJECT
    Q_PROPERTY(double progress READ progress NOTIFY progressChanged BINDABLE bindableProgress)
    Q_PROPERTY(QString currentNote READ currentNote NOTIFY currentNoteChanged BINDABLE bindableCurrentNote)
    Q_PROPERTY(bool isRunning READ isRunning NOTIFY isRunningChanged BINDABLE bindableIsRunning)

public:
    using QObject::QObject;

    double progress() const { return m_progress; }
    QBindable<double> bindableProgress() { return &m_progress; }
    QString currentNote() const { return m_currentNote; }
    QBindable<QString> bindableCurrentNote() { return &m_currentNote; }
    bool isRunning() const { return m_isRunning; }
    QBindable<bool> bindableIsRunning() { return &m_isRunning; }

signals:
    void progressChanged();
    void currentNoteChanged();
    void isRunningChanged();

protected:
    void setProgress(double progress) { m_progress = progress; }
    void setCurrentNote(const QString &note) { m_currentNote = note; }
    void setRunning(bool running) { m_isRunning = running; }

private:
    // Each announces a change, and only a change, through its signal.
    Q_OBJECT_BINDABLE_PROPERTY_WITH_ARGS(RunProgress, double, m_progress, 0, &RunProgress::progressChanged)
    Q_OBJECT_BINDABLE_PROPERTY(RunProgress, QString, m_currentNote, &RunProgress::currentNoteChanged)
    Q_OBJECT_BINDABLE_PROPERTY_WITH_ARGS(RunProgress, bool, m_isRunning, false, &RunProgress::isRunningChanged)
};
