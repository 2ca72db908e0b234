// credentials_merge.h: joins what two writers did to one list of credentials.
#pragma once

#include <QJsonArray>

/// `base` is the list that both began with, `mine` what the user made of it, `theirs` what stands in the file now. The
/// result is `mine` with what others added, changed and removed since; where both changed the same credential, each
/// member that only one of them changed is theirs who did, and mine stays where both did. Credentials are told apart by
/// "id"; what has none, or one that occurs twice, is told apart by all of it.
QJsonArray mergedCredentials(const QJsonArray& base, const QJsonArray& mine, const QJsonArray& theirs);
