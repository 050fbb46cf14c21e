#include "Benchmarks/Support/Program.h"

#include "Benchmarks/Support/Require.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <sstream>

namespace kova::benchmarks {

namespace {

std::string readAll(int descriptor)
{
    std::string text;
    std::array<char, 256> bytes {};
    for (ssize_t count = 0; (count = read(descriptor, bytes.data(), bytes.size())) > 0;)
        text.append(bytes.data(), static_cast<std::size_t>(count));
    return text;
}

} // namespace

std::string besideThisProgram(const std::string& name)
{
    return std::filesystem::read_symlink("/proc/self/exe").parent_path() / name;
}

Program::Program(const std::string& name, std::vector<std::string> arguments)
    : m_commandLine(std::move(arguments))
{
    m_commandLine.insert(m_commandLine.begin(), besideThisProgram(name));
}

void Program::run()
{
    std::vector<char*> arguments;
    for (auto& argument : m_commandLine)
        arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    std::array<int, 2> ends {};
    require(pipe2(ends.data(), O_CLOEXEC) == 0, "no pipe can be made");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    pid_t child = 0;
    int status = 0;
    std::string text;
    m_time.measure([&] {
        require(posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ) == 0,
            m_commandLine[0] + " cannot be run");
        close(ends[1]);
        text = readAll(ends[0]);
        require(waitpid(child, &status, 0) == child, m_commandLine[0] + " is lost");
    });
    close(ends[0]);
    posix_spawn_file_actions_destroy(&actions);
    require(WIFEXITED(status) && WEXITSTATUS(status) == 0, m_commandLine[0] + " failed");
    std::istringstream numbers {text};
    std::size_t index = 0;
    for (double number = 0; numbers >> number; ++index) {
        if (index == m_printed.size())
            m_printed.emplace_back();
        m_printed[index].add(number);
    }
    require(index > 0 && index == m_printed.size(), m_commandLine[0] + " printed something else");
}

} // namespace kova::benchmarks
