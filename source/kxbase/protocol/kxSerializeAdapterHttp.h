// Fetches a resource over HTTP/1.1, scheme "http:", directly or through a proxy.
//
//   http:[//][user@]host[:port][/path][?options]
//
// Opening connects and takes at most the time-out. The first length(), hasData() or read sends GET and waits for the
// head of the reply; then the adapter delivers the body, whatever the status is. Nothing is followed. A user of the
// class may send the requests itself, as often as it likes, and ask for the reply:
//
//   kxSerializeAdapterHttp http("host/path");
//   if (http.get() && http.getReply().statusCode() == 200) ... http.read(...) ...
//
// Reading waits for all that was asked for, length() for the first byte, pushed-back ones included, as long as the
// reply is not over. At most about 1 MB of the body is held in memory; the rest waits in the connection until somebody
// reads.
//
// Options: no_proxy, proxy, no_nic, nic. The variables KORVEX_HTTP_PROXY and KORVEX_HTTP_NIC of the environment stand
// in for proxy and nic. The user's name is kept and sent nowhere. Written bytes are dropped, with a Warning.
//
// Ownership: owns the connection, which serves further requests as long as the server agrees.
// Threads:   one thread requests and reads. With setPumping(false) it leaves the connection to another one, which
//            calls pump() all the time; requests then wait at most 3 seconds for their reply, after which the
//            caller may ask again with waitForReply().
//            The reply is parsed under the adapter's lock, with the Warnings of the parser, and what fails is
//            translated there: receivers of messages and the translator must not use the adapter.
// Errors:    what fails while opening is the error text. Once the reply is over and everything has been read,
//            hasError() sets "IP connection closed", or what went wrong, which is sent as a Warning too:
//            "HTTP Socket <name> timeout. No data", "Malformed message received", "Message body is incomplete",
//            "Connection was closed without a reply", or the text of the socket's error with the host in brackets.
//            A proxy that is left out is told by a Warning.
// Units:     counts are in bytes, the time-out in seconds.
#pragma once

#include "kxbase/protocol/kxHttpConnection.h"
#include "kxbase/protocol/kxHttpReplyReader.h"
#include "kxbase/protocol/kxHttpStatus.h"
#include "kxbase/serialize/kxSerializeAdapter.h"
#include "kxbase/thread/kxEvent.h"

class kxSerializeAdapterHttp : public kxSerializeAdapter {
public:
    // The URL without its scheme; an empty one opens nothing. When opening fails, `errorOut` receives which URL could
    // not be opened and getError() why.
    explicit kxSerializeAdapterHttp(const kxString& url, kxString* errorOut = nullptr);
    ~kxSerializeAdapterHttp() noexcept(false) override;
    const kxType& getType() const override;

    // Closes a connection that is open and makes another; while no other thread uses the adapter. Bytes pushed back are
    // thrown away.
    bool open(const kxString& url);
    // The interface that connections are bound to from now on, by address or name; empty for the choice of the URL.
    void setInterface(const kxString& text) { interfaceText_ = text; }
    // Control bytes in it are sent as blanks.
    void setUserAgent(const kxString& text) { userAgent_ = text; }
    // For a connection to be made, for the whole head of a reply, and behind it for each wait without a byte; 30 at
    // first.
    void setTimeout(double seconds) { timeoutSeconds_ = seconds; }
    // Whether requests and reads receive by themselves, as they do at first, or leave that to pump().
    void setPumping(bool pumps) { pumpsItself_ = pumps; }

    // Sends a request and waits for the head of its reply; answers whether there is one. What is left of the reply
    // before, pushed-back bytes too, is given up. A connection that serves no further request is made anew, also when
    // the server closes one that it has kept alive without a byte of a reply; the request is sent again then.
    virtual bool get();
    virtual bool options();
    // Waits on for the head of the reply; the same answer.
    virtual bool waitForReply();
    // Receives and parses what has come, waiting up to so long for it; answers whether anything came. For any thread.
    virtual bool pump(std::uint32_t milliseconds);

    // The head of the reply, once there is one; until the next request.
    const kxHttpMessage& getReply() const { return reader_.head(); }
    // The standard's text of a status code.
    static const char* statusText(int code) { return kxHttpStatusText(code); }
    const kxHttpUrl& getUrl() const { return url_; }

    // Does nothing: nothing is written, and bytes pushed back stay.
    std::uint32_t flush() override { return 0; }
    // Whether the connection is alive.
    bool isActive() override;
    bool hasEnd() const override { return true; }
    bool hasError() override;
    void writeBlock(const void* bytes, std::uint32_t count) override;
    void writeByte(std::uint8_t byte) override { writeBlock(&byte, 1); }
    std::uint32_t readBlock(void* bytes, std::uint32_t count) override;
    // Answers 0 when no byte came.
    std::uint8_t readByte() override;
    std::uint32_t getDataLength() override;

private:
    enum Phase : std::uint8_t {
        NOT_REQUESTED,  // the connection is the requesting thread's
        REQUESTED,
        STALE,  // the connection was dead already: the request must be sent again
    };
    // Of a connection, for the next request.
    enum Fitness : std::uint8_t { UNFIT, FRESH, KEPT_ALIVE };

    // One request and what becomes of it; made anew for each.
    struct Request {
        Phase phase = NOT_REQUESTED;
        bool isKeptAlive = false;  // the connection has served before
        double deadline = 0;       // of the head of the reply; the requesting thread's
        bool isSent = false;       // the whole request
        std::uint64_t receivedBytes = 0;
        kxString failure = {};  // of the connection, or the lack of data
        bool isFailureTold = false;
    };

    Fitness takeConnection();
    bool connect();
    bool requestResource();
    bool request(kxHttpMethod method, const std::string& text);
    bool sendRequest(Fitness fitness);
    void sendText();
    bool sendSome(std::string_view& left);
    void waitForRoom(double seconds);
    std::string userAgentText() const;
    template <class Look> bool waitFor(Look look);
    void waitForInput(double seconds);
    std::uint32_t awaitData();
    bool awaitHead();
    void giveUp();
    bool concludeReply();

    // Under the lock, all of them.
    bool isOver() const { return !request_.failure.isEmpty() || reader_.isOver(); }
    bool isUnderWay() const { return request_.phase == REQUESTED && !isOver(); }
    bool isHeadMissing() const { return isUnderWay() && !reader_.hasHead(); }
    // Whether the connection can serve another request.
    bool isConnectionUsable() const
    {
        return request_.isSent && request_.failure.isEmpty() && reader_.leavesConnectionUsable();
    }
    bool canReceive() const;
    bool receiveAhead();
    std::uint32_t receive(std::uint8_t* bytes, std::uint32_t count);
    void endOfData();
    std::uint32_t look();
    std::uint32_t take(std::uint8_t* bytes, std::uint32_t count);
    std::uint32_t takeFromSocket(std::uint8_t* bytes, std::uint32_t count);
    void waitForOther(std::uint32_t milliseconds);

    // Of the requesting thread.
    kxHttpUrl url_;
    kxString interfaceText_;
    kxString userAgent_ = "KorvexBase HTTP/1.0";
    std::string requestText_;
    kxHttpMethod method_ = KX_HTTP_GET;
    double timeoutSeconds_ = 30.0;
    bool pumpsItself_ = true;
    bool isWriteTold_ = false;

    // Guards what follows; signalled when a request goes out, when its reply goes on and when it is read.
    kxEvent lock_;
    kxHttpConnection connection_;
    kxHttpReplyReader reader_;
    Request request_;
};
