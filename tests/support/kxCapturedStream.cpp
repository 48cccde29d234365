#include "support/kxCapturedStream.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

void kxCapturedStream::open(int descriptor)
{
    descriptor_ = descriptor;
    ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) | O_NONBLOCK);
}

void kxCapturedStream::drain()
{
    char bytes[65536];
    while (descriptor_ >= 0) {
        const ssize_t count = ::read(descriptor_, bytes, sizeof bytes);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 && errno == EAGAIN) return;
        if (count <= 0) return close();
        text_.append(bytes, static_cast<std::size_t>(count));
    }
}

bool kxCapturedStream::find(std::string_view text)
{
    const std::size_t position = text_.find(text, mark_);
    if (position == std::string::npos) return false;
    mark_ = position + text.size();
    return true;
}

void kxCapturedStream::close()
{
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = -1;
}
