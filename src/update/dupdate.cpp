#include "dupdate.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QLocale>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPushButton>
#include <QTextBrowser>
#include <QVBoxLayout>

using QtAutoUpdater::Updater;

DUpdate::DUpdate(const QList<Updater::UpdateInfo> &vUpdates, const QString &vChangelogPrefix,
                 QWidget *parent)
    : QDialog(parent)
    , m_updates(vUpdates)
    , m_notes(new QTextBrowser(this))
    , m_network(new QNetworkAccessManager(this))
{
    setWindowTitle(tr("Software Update"));
    auto *layout = new QVBoxLayout(this);

    QStringList offered;
    for (const Updater::UpdateInfo &update : m_updates)
        offered << tr("%1 %2 (%3)")
                       .arg(update.name, update.version.toString(),
                            QLocale().formattedDataSize(qint64(update.size)));
    auto *heading = new QLabel(tr("<b>A new version of Tovrel is available.</b>"), this);
    auto *list = new QLabel(offered.join(QLatin1Char('\n')), this);
    list->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(heading);
    layout->addWidget(list);
    layout->addWidget(new QLabel(tr("Release notes:"), this));

    m_notes->setObjectName(QStringLiteral("notes"));
    m_notes->setOpenExternalLinks(true);
    m_notes->setMinimumSize(460, 240);
    layout->addWidget(m_notes, 1);

    auto *buttons = new QDialogButtonBox(this);
    auto *skip = buttons->addButton(tr("Skip This Version"), QDialogButtonBox::RejectRole);
    auto *later = buttons->addButton(tr("Remind Me Later"), QDialogButtonBox::RejectRole);
    auto *update = buttons->addButton(tr("Update"), QDialogButtonBox::AcceptRole);
    update->setDefault(true);
    connect(skip, &QPushButton::clicked, this, [this] { choose(Choice::SkipThisVersion); });
    connect(later, &QPushButton::clicked, this, [this] { choose(Choice::RemindMeLater); });
    connect(update, &QPushButton::clicked, this, [this] { choose(Choice::Update); });
    layout->addWidget(buttons);

    for (const Updater::UpdateInfo &info : m_updates) {
        const QString version = info.version.toString();
        if (!m_notesByVersion.contains(version)) {
            m_notesByVersion.insert(version, tr("Loading release notes..."));
            fetchNotes(version, vChangelogPrefix);
        }
    }
    showNotes();
}

QString DUpdate::notesText() const
{
    return m_notes->toPlainText();
}

void DUpdate::fetchNotes(const QString &vVersion, const QString &vChangelogPrefix)
{
    QNetworkRequest request(QUrl(vChangelogPrefix + vVersion + QStringLiteral("-changelog.txt")));
    request.setTransferTimeout(15000);
    QNetworkReply *reply = m_network->get(request);
    connect(reply, &QNetworkReply::finished, this,
            [this, vVersion, reply] { on_notesReply(vVersion, reply); });
}

void DUpdate::on_notesReply(const QString &vVersion, QNetworkReply *vReply)
{
    vReply->deleteLater();
    m_notesByVersion.insert(vVersion,
                            vReply->error() == QNetworkReply::NoError
                                ? QString::fromUtf8(vReply->readAll())
                                : vReply->errorString());
    showNotes();
    Q_EMIT did_loadNotes();
}

void DUpdate::showNotes()
{
    // One version shows its notes alone; several each get their version as a heading.
    if (m_notesByVersion.size() == 1) {
        m_notes->setPlainText(m_notesByVersion.first());
        return;
    }
    QStringList sections;
    for (auto it = m_notesByVersion.constBegin(); it != m_notesByVersion.constEnd(); ++it)
        sections << tr("Version %1\n\n%2").arg(it.key(), it.value());
    m_notes->setPlainText(sections.join(QStringLiteral("\n\n")));
}

void DUpdate::choose(Choice vChoice)
{
    m_choice = vChoice;
    if (vChoice == Choice::Update)
        accept();
    else
        reject();
}
