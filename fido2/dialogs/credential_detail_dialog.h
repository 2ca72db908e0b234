// credential_detail_dialog.h: shows one credential, of a credentials file or of a confirmation request.
#pragma once

#include <QDialog>
#include <QJsonObject>

/// Takes the nested shape of a file (rp, user) and the flat one of a request (rpId, userName, signatureCounter). Shown
/// without blocking; deletes itself when closed.
class CredentialDetailDialog : public QDialog
{
    Q_OBJECT

public:
    explicit CredentialDetailDialog(const QJsonObject& credential, QWidget* parent = nullptr);

public slots:
    void onClose();
};
