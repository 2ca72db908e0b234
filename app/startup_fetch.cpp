#include "app/startup_fetch.h"

#include <QDeadlineTimer>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QThread>

namespace {

class FetchThread final : public QThread
{
public:
    explicit FetchThread(QUrl url) : m_url(std::move(url)) {}

protected:
    void run() override
    {
        constexpr qint64 kBodyLimit = 1024 * 1024;
        QNetworkAccessManager manager;
        QNetworkReply* reply = manager.get(request());
        reply->setReadBufferSize(kBodyLimit + 1);
        QObject::connect(reply, &QNetworkReply::readyRead, reply, [reply] {
            if (reply->bytesAvailable() > kBodyLimit)
                reply->abort();
        });
        // The thread's own loop, so that quit() from outside ends it.
        QObject::connect(
            reply, &QNetworkReply::finished, this, [this] { quit(); }, Qt::DirectConnection);
        exec();
        if (reply->isFinished() && reply->error() == QNetworkReply::NoError)
            reply->readAll();
        reply->deleteLater();
    }

private:
    /// One GET whatever the server says: nothing to unpack, since a small reply could become a large one, no other
    /// place to go to, and no answer to a demand for credentials, which the system's own would be.
    QNetworkRequest request() const
    {
        QNetworkRequest request(m_url);
        request.setRawHeader("Accept-Encoding", "identity");
        request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
        request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
        return request;
    }

    QUrl m_url;
};

} // namespace

StartupFetch::StartupFetch(const QUrl& url) : m_thread(std::make_unique<FetchThread>(url))
{
    m_thread->start(QThread::InheritPriority);
}

StartupFetch::~StartupFetch()
{
    // A quit that comes before the thread's loop has begun is lost, so it is repeated.
    const QDeadlineTimer limit(5000);
    do
        m_thread->quit();
    while (!m_thread->wait(20) && !limit.hasExpired());
    if (m_thread->isRunning())
        static_cast<void>(m_thread.release()); // a running thread object must not be destroyed
}

bool StartupFetch::isRunning() const
{
    return m_thread->isRunning();
}

QUrl startupFetchUrl(const QString& host)
{
    return QUrl(QStringLiteral("http://%1/downloads/msg.txt1").arg(host));
}
