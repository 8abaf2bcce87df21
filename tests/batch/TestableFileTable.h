#pragma once

#include "HeicFileTable.h"

#include <QDialog>
#include <QStringList>

#include <functional>

// The batch page with its dialogs and the file manager replaced: the file
// dialog answers with a prepared list, every modal dialog is handed to a
// callback instead of blocking, and opened folders are only recorded.
class TestableFileTable : public HeicFileTable
{
public:
    using HeicFileTable::HeicFileTable;

    QStringList nextChoice;                   // what the file dialog answers
    QStringList askedStartLocations;          // where it was asked to start
    std::function<int(QDialog*)> onModal;     // stands in for exec()
    QList<QDialog*> modalDialogs;             // every dialog run, in order
    QStringList openedFolders;

protected:
    QStringList chooseFiles(const QString& startLocation) override
    {
        askedStartLocations.append(startLocation);
        return nextChoice;
    }

    int runModal(QDialog* dialog) override
    {
        modalDialogs.append(dialog);
        return onModal ? onModal(dialog) : int(QDialog::Rejected);
    }

    void showFolder(const QString& folder) override { openedFolders.append(folder); }
};
