#include "Host/Answers.h"

#include "Platform/Foundation/JSONSerialization.h"
#include "Platform/Posix/StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace kova::host {

Answers::Answers(const std::optional<std::filesystem::path>& file)
    : m_descriptor(STDERR_FILENO)
{
    if (!file)
        return;
    m_descriptor = open(file->c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600);
    if (m_descriptor < 0)
        throw std::system_error {errno, std::generic_category(), "cannot write answers to " + file->string()};
}

Answers::~Answers()
{
    if (m_descriptor != STDERR_FILENO)
        close(m_descriptor);
}

void Answers::write(const Value::Dictionary& answer)
{
    const auto json = JSONSerialization::data(answer);
    auto line = json ? std::string {json->text()} : R"({"error":"the answer cannot be written as JSON"})";
    line += '\n';
    const auto failure = writeToStream(m_descriptor, line);
    // Nobody reads, and the host is ending.
    if (failure && failure != std::errc::timed_out)
        throw std::system_error {failure, "the answer cannot be written"};
}

} // namespace kova::host
