#include "Platform/Libraries/CurlTask.h"

#include "Platform/Libraries/CurlLoop.h"

#include <utility>

namespace kova {

CurlTask::CurlTask(std::shared_ptr<CurlLoop> loop, URLRequest request, DataTaskCompletion completion)
    : m_loop(std::move(loop))
    , m_request(std::move(request))
    , m_completion(std::move(completion))
{
}

CurlTask::~CurlTask()
{
    // Nobody else can change the stage any more: the loop does so only while it holds a reference.
    if (m_stage == Stage::created)
        m_loop->forget(*this);
}

void CurlTask::resume()
{
    m_loop->resume(*this);
}

void CurlTask::cancel()
{
    m_loop->cancel(*this);
}

} // namespace kova
