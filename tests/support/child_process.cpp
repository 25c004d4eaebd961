#include "support/child_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace qlm::test {
namespace {

std::string read_all(int fd) {
    std::string out;
    char buffer[4096];
    for (;;) {
        const ssize_t got = read(fd, buffer, sizeof buffer);
        if (got <= 0) break;
        out.append(buffer, static_cast<std::size_t>(got));
    }
    return out;
}

child_result wait_for(pid_t pid, int fd) {
    child_result result;
    result.output = read_all(fd);
    close(fd);
    int status = 0;
    waitpid(pid, &status, 0);
    if (WIFEXITED(status)) result.exit_code = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
    return result;
}

template <typename Child>
child_result fork_with_pipe(Child child) {
    std::fflush(nullptr);
    int fds[2];
    if (pipe(fds) != 0) return {};
    const pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        dup2(fds[1], STDOUT_FILENO);
        close(fds[1]);
        child();
        std::fflush(nullptr);
        _exit(0);
    }
    close(fds[1]);
    return wait_for(pid, fds[0]);
}

}  // namespace

child_result run_in_child(const std::function<void()>& body,
                          const std::vector<std::pair<std::string, std::string>>& environment) {
    return fork_with_pipe([&] {
        for (const auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
        body();
    });
}

child_result run_program(const std::string& path, const std::vector<std::string>& arguments,
                         const std::vector<std::pair<std::string, std::string>>& environment) {
    return fork_with_pipe([&] {
        for (const auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
        std::vector<char*> argv;
        argv.push_back(const_cast<char*>(path.c_str()));
        for (const std::string& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        execv(path.c_str(), argv.data());
        _exit(127);
    });
}

}  // namespace qlm::test
