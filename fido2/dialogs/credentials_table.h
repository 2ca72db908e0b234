// credentials_table.h: the credentials of a file as rows that can be sorted and searched.
#pragma once

#include "fido2/file/credential_ids.h"

#include <QJsonArray>
#include <QTableWidget>

#include <optional>

/// Shows at most kMostShownItems credentials. A row stands for an element of the array that was shown last, wherever
/// sorting puts it. Ids that a key cannot work with stand out.
class CredentialsTable : public QTableWidget
{
    Q_OBJECT

public:
    explicit CredentialsTable(QWidget* parent = nullptr);

    /// Rows for those in which `search` occurs, whatever the case of its letters; all for an empty text. The order that
    /// the user chose stays. Returns for how many that is.
    int showCredentials(const QJsonArray& credentials, const CredentialIdFaults& faults, const QString& search);

    /// Element of the array in the selected row; of a row that no credential stands behind the row's own number.
    std::optional<int> selectedCredential() const;

    /// Selects the row of that element, if there is one.
    void selectCredential(int index);

signals:
    /// By the Delete key.
    void deleteRequested();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void fillRow(int row, int index, const QJsonObject& credential, const CredentialIdFaults& faults);
};
