#pragma once

#include "SkinStyle.h"
#include "VNStyleDialog.h"

#include <QPair>
#include <QString>
#include <QVector>

class TipDialog;

namespace Ui {
class BatchConvertProgress;
}

// Shows a batch run: "Converting 3/10 files" with a bar and Cancel, then the
// result with Open Folder and OK. The batch page feeds it; cancelling is
// confirmed first.
class BatchConvertProgress : public VNStyleDialog
{
    Q_OBJECT

public:
    explicit BatchConvertProgress(QWidget* parent);
    ~BatchConvertProgress() override;

    void setProgress(const int& percent, const QString& countText);
    void setFinished(int count);
    // The result of a whole run: how many were converted, each photo that
    // failed with its reason, and the folder the JPEGs are in.
    void setFinished(int count, const QVector<QPair<QString, QString>>& failures,
                     const QString& folder);
    // Cancel confirmed: the photos in hand are being finished.
    void setCancelling();
    bool isFinished() const { return m_finished; }

signals:
    void signal_CancelConvert();
    void signal_OpenFolder();

public slots:
    void slot_isCancelView();
    void slot_CancelConvert();
    void slot_OpenFolder();
    void slot_Close();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

    // Runs the cancel question modally. Tests replace it so no nested event
    // loop waits for a click that never comes.
    virtual int runModal(QDialog* dialog);

private:
    Ui::BatchConvertProgress* ui;
    SkinStyle m_skin;
    TipDialog* m_cancelTip = nullptr;
    bool m_finished = false;
};
