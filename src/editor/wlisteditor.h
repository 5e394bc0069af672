#ifndef WLISTEDITOR_H
#define WLISTEDITOR_H

#include <QModelIndex>
#include <QStringList>
#include <QWidget>

class QListWidgetItem;

namespace Ui {
class WListEditor;
}

// Edits an ordered list of strings in place: insert, rename, delete and move rows.
class WListEditor : public QWidget
{
    Q_OBJECT
public:
    explicit WListEditor(QWidget *parent = nullptr);
    ~WListEditor() override;

    void setItems(const QStringList &vItems);
    QStringList items() const;

private Q_SLOTS:
    void on_tbInsert_clicked();
    void on_tbDelete_clicked();
    void on_tbUpdate_toggled(bool checked);
    void on_listWidget_currentItemChanged(QListWidgetItem *current, QListWidgetItem *previous);
    void on_tbUp_clicked();
    void on_tbDown_clicked();
    void on_listWidget_doubleClicked(const QModelIndex &index);

private:
    void moveCurrent(int vStep);
    void startEditing();
    void closeEditor(QListWidgetItem *vItem);

    Ui::WListEditor *ui;
};

#endif // WLISTEDITOR_H
