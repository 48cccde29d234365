#include "tool/kxRelay.h"

#include "kxbase/core/kxTransferBuffer.h"
#include "kxbase/serialize/kxSerializeString.h"

kxRelay::kxRelay(kxSerializeAdapter& input, const kxString& inputUrl, kxSerializeAdapter& output,
                 const kxString& outputUrl)
    : input_(input), output_(output), inputUrl_(inputUrl), outputUrl_(outputUrl)
{}

void kxRelay::run()
{
    writeNotice();
    while (turn()) {
    }
}

void kxRelay::writeNotice()
{
    const kxString notice = kxString::format("Opened URL '%s' with output '%s'\r\n", inputUrl_, outputUrl_);
    output_.write(notice.text(), notice.length());
    output_.flush();
}

bool kxRelay::turn()
{
    if (input_.hasError()) return false;
    move(input_, output_);
    move(output_, input_);
    return true;
}

// Moves what the source has ready in one read and one write.
void kxRelay::move(kxSerializeAdapter& source, kxSerializeAdapter& target)
{
    if (source.length() == 0) return;
    const std::uint32_t count = source.length();  // asked again: more may have come
    const kxTransferBuffer buffer(count);
    const std::uint32_t taken = source.read(buffer.data(), count);
    if (taken == 0) return;
    target.write(buffer.data(), taken);
    target.flush();
}

void kxRelay::writePing(kxSerializeAdapter& output)
{
    kxSerializeString("Ping\r\n", true, '\0').write(output);
}
