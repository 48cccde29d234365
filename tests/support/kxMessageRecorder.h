// Takes every message that is sent while it lives, in place of the default receiver.
//
// Threads: messages may come from any thread; they are looked at when those threads are done.
#pragma once

#include "kxbase/core/kxMessageLevel.h"
#include "kxbase/message/kxMessageManager.h"

#include <mutex>
#include <string>
#include <utility>
#include <vector>

class kxMessageRecorder : private kxMessageReceiverInterface {
public:
    struct Entry {
        std::uint32_t level;
        std::string text;
    };

    kxMessageRecorder() : kxMessageRecorder(kxMessageManager::instance().level()) {}
    // Sets the level of the manager until the recorder goes.
    explicit kxMessageRecorder(std::uint32_t level) : levelBefore_(kxMessageManager::instance().level())
    {
        kxMessageManager::instance().setLevel(level);
        kxMessageManager::instance().addReceiver(*this);
    }
    ~kxMessageRecorder() override
    {
        kxMessageManager::instance().removeReceiver(*this);
        kxMessageManager::instance().setLevel(levelBefore_);
    }
    kxMessageRecorder(const kxMessageRecorder&) = delete;
    kxMessageRecorder& operator=(const kxMessageRecorder&) = delete;

    const std::vector<Entry>& entries() const { return entries_; }
    std::vector<std::string> texts() const
    {
        std::vector<std::string> texts;
        for (const Entry& entry : entries_) texts.push_back(entry.text);
        return texts;
    }
    // The texts so far, which are then forgotten.
    std::vector<std::string> takeTexts()
    {
        std::vector<std::string> texts = this->texts();
        entries_.clear();
        return texts;
    }

private:
    void receive(const kxString&, std::uint32_t level, const kxString& text) override
    {
        const std::lock_guard<std::mutex> guard(lock_);
        entries_.push_back({level, std::string(text.view())});
    }

    const std::uint32_t levelBefore_;
    std::mutex lock_;
    std::vector<Entry> entries_;
};
