#ifndef DUPDATE_H
#define DUPDATE_H

#include "updater.h"

#include <QDialog>
#include <QMap>

class QNetworkAccessManager;
class QNetworkReply;
class QTextBrowser;

// Offers the updates the maintenance tool listed, with each version's release notes fetched
// from the changelog location, and records which of its three answers the user gave.
class DUpdate : public QDialog
{
    Q_OBJECT
public:
    enum class Choice { SkipThisVersion, RemindMeLater, Update };

    DUpdate(const QList<QtAutoUpdater::Updater::UpdateInfo> &vUpdates,
            const QString &vChangelogPrefix, QWidget *parent = nullptr);

    Choice choice() const { return m_choice; }
    // The release notes as shown, for the window's owner and for checks.
    QString notesText() const;

Q_SIGNALS:
    void did_loadNotes();

private:
    void fetchNotes(const QString &vVersion, const QString &vChangelogPrefix);
    void on_notesReply(const QString &vVersion, QNetworkReply *vReply);
    void showNotes();
    void choose(Choice vChoice);

    QList<QtAutoUpdater::Updater::UpdateInfo> m_updates;
    QTextBrowser *m_notes = nullptr;
    QNetworkAccessManager *m_network = nullptr;
    QMap<QString, QString> m_notesByVersion;
    Choice m_choice = Choice::RemindMeLater;
};

#endif // DUPDATE_H
