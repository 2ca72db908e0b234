// credentials_writer.cpp: one of two processes that change one credentials file at once: PATH ID ROUNDS WAY.
//
// WAY "window" saves as the settings of a key do: what others did is pulled in under the lock. WAY "key" changes its
// credential in the file as a device process does. Each round takes the signature counter of credential ID one further;
// the exit code is 1 when the file ever lacks what this process has written.
#include "fido2/file/credentials_file.h"
#include "fido2/file/followed_credentials.h"
#include "runtime/whole_file.h"

#include <QCoreApplication>

namespace {

constexpr int kPatience = 60000; // ms

/// Takes the counter further; -1 when it is not `expected`.
int countOn(QJsonArray& credentials, const QString& id, int expected)
{
    for (int index = 0; index < credentials.size(); ++index) {
        QJsonObject credential = credentials.at(index).toObject();
        if (credential.value(QStringLiteral("id")).toString() != id)
            continue;
        const int count = credential.value(QStringLiteral("sigCnt")).toInt();
        if (count != expected)
            return -1;
        credential.insert(QStringLiteral("sigCnt"), count + 1);
        credentials.replace(index, credential);
        return count + 1;
    }
    return -1;
}

bool saveAsWindow(const QString& path, const QString& id, int rounds)
{
    CredentialsFile file(path);
    file.load();
    QJsonArray credentials = file.credentials();
    FollowedCredentials followed;
    followed.follow(path, credentials);
    for (int round = 0; round < rounds; ++round) {
        if (countOn(credentials, id, round) < 0)
            return false;
        const FileLock lock(path, kPatience);
        credentials = followed.pull(credentials).value_or(credentials);
        if (!file.save(lock, {}, credentials))
            return false;
        followed.follow(path, credentials);
    }
    return true;
}

bool changeAsKey(const QString& path, const QString& id, int rounds)
{
    for (int round = 0; round < rounds; ++round) {
        const FileLock lock(path, kPatience);
        QJsonObject root = readJsonFile(path).root;
        QJsonArray credentials = root.value(QStringLiteral("credentials")).toArray();
        if (countOn(credentials, id, round) < 0)
            return false;
        root.insert(QStringLiteral("credentials"), credentials);
        if (!writeJsonFile(path, root))
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList given = QCoreApplication::arguments();
    const QString path = given.value(1);
    const QString id = given.value(2);
    const int rounds = given.value(3).toInt();
    const bool done =
        given.value(4) == QStringLiteral("window") ? saveAsWindow(path, id, rounds) : changeAsKey(path, id, rounds);
    return done ? 0 : 1;
}
