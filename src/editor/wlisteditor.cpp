#include "wlisteditor.h"
#include "ui_wlisteditor.h"

#include <QAbstractItemDelegate>
#include <QListWidgetItem>

namespace {
QListWidgetItem *editableItem(const QString &vText)
{
    auto *item = new QListWidgetItem(vText);
    item->setFlags(item->flags() | Qt::ItemIsEditable);
    return item;
}
} // namespace

WListEditor::WListEditor(QWidget *parent)
    : QWidget(parent)
    , ui(new Ui::WListEditor)
{
    ui->setupUi(this);
}

WListEditor::~WListEditor()
{
    delete ui;
}

void WListEditor::setItems(const QStringList &vItems)
{
    ui->listWidget->clear();
    for (const QString &text : vItems)
        ui->listWidget->addItem(editableItem(text));
}

QStringList WListEditor::items() const
{
    QStringList texts;
    for (int row = 0; row < ui->listWidget->count(); ++row)
        texts.append(ui->listWidget->item(row)->text());
    return texts;
}

void WListEditor::on_tbInsert_clicked()
{
    QListWidget *list = ui->listWidget;
    QListWidgetItem *item = editableItem(tr("New Item %1").arg(list->count() + 1));
    // With no current row the new item goes to the top.
    list->insertItem(qMax(list->currentRow(), 0), item);
    list->setCurrentItem(item);
}

void WListEditor::on_tbDelete_clicked()
{
    // takeItem hands the item over; it is no longer the list's to free.
    delete ui->listWidget->takeItem(ui->listWidget->currentRow());
}

void WListEditor::startEditing()
{
    QListWidgetItem *item = ui->listWidget->currentItem();
    if (!item)
        return;
    ui->listWidget->openPersistentEditor(item);
    ui->listWidget->editItem(item);
}

// Keeps what was typed: Return both ends the edit and unchecks the update button, and closing a
// persistent editor alone would throw the text away.
void WListEditor::closeEditor(QListWidgetItem *vItem)
{
    QListWidget *list = ui->listWidget;
    const int row = list->row(vItem);
    if (row < 0)
        return;
    if (QWidget *editor = list->indexWidget(list->model()->index(row, 0)))
        Q_EMIT list->itemDelegate()->commitData(editor);
    list->closePersistentEditor(vItem);
}

void WListEditor::on_tbUpdate_toggled(bool checked)
{
    QListWidgetItem *item = ui->listWidget->currentItem();
    if (!item) {
        // Nothing to edit: the button does not stay pressed.
        ui->tbUpdate->setChecked(false);
        return;
    }
    if (checked)
        startEditing();
    else
        closeEditor(item);
}

void WListEditor::on_listWidget_currentItemChanged(QListWidgetItem *current,
                                                   QListWidgetItem *previous)
{
    Q_UNUSED(current);
    if (previous)
        closeEditor(previous);
    ui->tbUpdate->setChecked(false);
}

void WListEditor::on_tbUp_clicked()
{
    moveCurrent(-1);
}

void WListEditor::on_tbDown_clicked()
{
    moveCurrent(+1);
}

// The target row is read after the item is taken out, so it depends on which row the list makes
// current once the item is gone.
void WListEditor::moveCurrent(int vStep)
{
    QListWidget *list = ui->listWidget;
    QListWidgetItem *item = list->takeItem(list->currentRow());
    if (!item)
        return;
    const int row = qBound(0, list->currentRow() + vStep, int(list->count()));
    list->insertItem(row, item);
    list->setCurrentItem(item);
}

void WListEditor::on_listWidget_doubleClicked(const QModelIndex &index)
{
    Q_UNUSED(index);
    ui->tbUpdate->setChecked(true);
    startEditing();
}
