// A server program on a port of 127.0.0.1, started and stopped by the test.
//
// Errors: a program that never listens throws std::runtime_error with what it said.
#pragma once

#include "support/kxProcess.h"
#include "support/kxTestSocket.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <thread>

class kxTestServer {
public:
    // The arguments name the port that the program is to listen on; another one is tried when somebody else took it.
    kxTestServer(const std::string& program,
                 const std::function<std::vector<std::string>(const std::string& port)>& arguments)
    {
        for (int attempt = 0; attempt < 3; ++attempt) {
            port_ = kxTestSocket::listener().port();
            process_ =
                std::make_unique<kxProcess>(program, kxProcessOptions{arguments(std::to_string(port_))});
            while (!process_->wait(std::chrono::milliseconds(20)).ended) {
                try {
                    kxTestSocket::connectedTo(port_);
                    return;
                } catch (const std::system_error&) {
                    // Not yet.
                }
            }
        }
        throw std::runtime_error("kxTestServer: " + program + " does not listen: " + process_->error());
    }

    std::string place() const { return "127.0.0.1:" + std::to_string(port_); }

private:
    std::uint16_t port_ = 0;
    std::unique_ptr<kxProcess> process_;
};
