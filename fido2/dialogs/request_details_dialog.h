// request_details_dialog.h: shows a confirmation request whole, with what its fields mean.
#pragma once

#include <QDialog>
#include <QJsonObject>

class RequestDetailsDialog : public QDialog
{
    Q_OBJECT

public:
    RequestDetailsDialog(const QString& operation, const QJsonObject& request, QWidget* parent = nullptr);
};
