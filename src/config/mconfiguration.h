#ifndef MCONFIGURATION_H
#define MCONFIGURATION_H

#include <QMap>
#include <QObject>
#include <QVariant>

#include <memory>

class QSettings;

// Switches a distributor sets in "tovrel.conf" beside the program; read once at start-up.
class MConfiguration : public QObject
{
    Q_OBJECT
public:
    enum Flag {
        ImportDataEditable = 0,
        ImportSettingsVisible = 1,
        CleanBeforeRunVisible = 2,
        AboutChangeLogVisible = 3,
    };

    explicit MConfiguration(QObject *parent = nullptr);
    ~MConfiguration() override;

    // The process-wide flags: the first MConfiguration made, or one created on first use.
    static MConfiguration &instance();

    // Reads "tovrel.conf" from the program's folder.
    void load();
    // Reads the flags from the given INI file instead; a missing file leaves every flag false.
    void load(const QString &vFilePath);

    QVariant value(int vNumber) const;
    static QString defaultFilePath();

private:
    std::unique_ptr<QSettings> m_file;
    QMap<int, QVariant> m_values;
};

#endif // MCONFIGURATION_H
