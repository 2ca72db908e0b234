// filter_edit.h: a line for a filter, which completes its words and says what is wrong with it.
#pragma once

#include "capture/decode/packet_filter.h"

#include <QLineEdit>

class QCompleter;

class FilterEdit : public QLineEdit
{
    Q_OBJECT

public:
    explicit FilterEdit(PacketFilter::MeaningOf meaning, QWidget* parent = nullptr);

signals:
    /// The text was changed and makes sense; empty when all packets are wanted.
    void filterChanged(PacketFilter filter);
    /// The text is wrong, or, with an empty explanation, no longer so.
    void explained(QString error);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void read();
    void complete();
    void insertWord(const QString& word);
    int wordBegin() const;

    const PacketFilter::MeaningOf m_meaning;
    QCompleter* m_words;
};
