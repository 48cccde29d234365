// Collects the messages that are sent while it lives.
#pragma once

#include "kxbase/core/kxMessageLevel.h"
#include "kxbase/message/kxMessageManager.h"
#include "kxbase/message/kxMessageReceiverInterface.h"
#include "kxbase/string/kxString.h"

#include <cstdint>
#include <string>
#include <vector>

class kxMessageRecorder : public kxMessageReceiverInterface {
public:
    struct Message {
        std::uint32_t level;
        std::string text;
    };

    // Internal messages are recorded too; the level that was set comes back at the end.
    kxMessageRecorder() : levelBefore_(kxMessageManager::instance().level())
    {
        kxMessageManager::instance().setLevel(KX_MESSAGE_NOTICE | KX_MESSAGE_INTERNAL);
        kxMessageManager::instance().addReceiver(*this);
    }
    ~kxMessageRecorder() override
    {
        kxMessageManager::instance().removeReceiver(*this);
        kxMessageManager::instance().setLevel(levelBefore_);
    }
    kxMessageRecorder(const kxMessageRecorder&) = delete;
    kxMessageRecorder& operator=(const kxMessageRecorder&) = delete;

    void receive(const kxString&, std::uint32_t level, const kxString& text) override
    {
        messages_.push_back({level, std::string(text.view())});
    }

    const std::vector<Message>& messages() const { return messages_; }
    // The texts alone, and forgets them.
    std::vector<std::string> takeTexts()
    {
        std::vector<std::string> texts;
        for (auto& message : messages_) texts.push_back(std::move(message.text));
        messages_.clear();
        return texts;
    }

private:
    std::vector<Message> messages_;
    std::uint32_t levelBefore_;
};
