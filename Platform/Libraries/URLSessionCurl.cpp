#include "Platform/Libraries/URLSessionCurl.h"

#include "Platform/Libraries/CurlLoop.h"

#include <utility>

namespace kova {

URLSessionCurl::URLSessionCurl()
    : URLSessionCurl(Options {})
{
}

URLSessionCurl::URLSessionCurl(const Options& options)
    : m_loop(std::make_shared<CurlLoop>(options.additionalCertificates.string()))
{
    m_loop->start();
}

URLSessionCurl::~URLSessionCurl()
{
    m_loop->invalidate();
    m_loop->release();
}

std::shared_ptr<URLSessionDataTask> URLSessionCurl::dataTask(URLRequest request, DataTaskCompletion completion)
{
    return m_loop->makeTask(std::move(request), std::move(completion));
}

void URLSessionCurl::invalidateAndCancel()
{
    m_loop->invalidate();
}

bool URLSessionCurl::isOnCompletionThread() const
{
    return m_loop->isOnCompletionThread();
}

} // namespace kova
