// Runs a piece of a test in a child process, capturing what it prints on
// standard output and how it ends.  For paths that end the process or read
// the environment at load.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace qlm::test {

struct child_result {
    int exit_code = -1;   // exit status, or -1 if the child did not exit normally
    int signal = 0;       // terminating signal, if any
    std::string output;   // everything written to standard output
};

// Forks; the child sets `environment`, runs `body` and exits with 0 when the
// body returns.  Standard output of the child is captured.
child_result run_in_child(const std::function<void()>& body,
                          const std::vector<std::pair<std::string, std::string>>& environment = {});

// Runs a program with arguments and extra environment, capturing its
// standard output (standard error is left alone).
child_result run_program(const std::string& path, const std::vector<std::string>& arguments,
                         const std::vector<std::pair<std::string, std::string>>& environment = {});

}  // namespace qlm::test
