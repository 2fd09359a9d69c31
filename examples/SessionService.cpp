// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// The skeleton of a service that keeps the PINs of all login sessions of a machine. The clients of the library serve
// one process; whoever serves many owns an engine instead and tells it for which process each call is made. The
// engine finds the login session of that process, and keeps the PINs of sessions apart.
//
// usage: session-service SOCKET serve          until SIGTERM
//        session-service SOCKET set            a client: caches the PIN on standard input for its login session
//        session-service SOCKET get            a client: prints the PIN of its login session
//        session-service SOCKET end SESSION    what follows the logins (a PAM module, say) runs this when one ends

#include "Handles.h"

#include "authstore/InternalAuthStore.h"

#include <csignal>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{

using Message = OV::Framework::SecureBytes; // a request or an answer: it can hold a PIN

constexpr std::size_t MaxMessage = 256;

class CSocket
{
public:
    explicit CSocket(int nDescriptor) : m_nDescriptor(nDescriptor) { Require(nDescriptor >= 0, "socket"); }
    ~CSocket() { close(m_nDescriptor); }
    CSocket(const CSocket&) = delete;
    CSocket& operator=(const CSocket&) = delete;

    int Get() const { return m_nDescriptor; }

    void Send(const Message& message) { send(m_nDescriptor, message.data(), message.size(), MSG_NOSIGNAL); }

    // Empty when the other side went or said nothing for a second.
    Message Receive()
    {
        const timeval second{1, 0};
        setsockopt(m_nDescriptor, SOL_SOCKET, SO_RCVTIMEO, &second, sizeof second);
        Message message(MaxMessage);
        message.resize(static_cast<std::size_t>(std::max<ssize_t>(recv(m_nDescriptor, message.data(), message.size(), 0), 0)));
        return message;
    }

    // A socket of whole messages, bound or connected to a path.
    template <class Function> static CSocket At(const char* pszPath, Function bindOrConnect)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        Require(std::strlen(pszPath) < sizeof address.sun_path, "a shorter path");
        std::strcpy(address.sun_path, pszPath);
        const int nDescriptor = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
        Require(bindOrConnect(nDescriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, pszPath);
        return CSocket(nDescriptor);
    }

private:
    static void Require(bool bDone, const char* pszWhat)
    {
        if (!bDone) {
            throw std::runtime_error(std::string(pszWhat) + ": " + std::strerror(errno));
        }
    }

    int m_nDescriptor;
};

class CService
{
public:
    // In memory and encrypted; it does not ignore sessions, as the store of the clients does.
    CService() { Check(m_Store.Begin(Bstr("Service").get(), OV::AuthStore::AuthTypeMemory, 1, 0), "beginning the store"); }
    ~CService() { m_Store.End(); } // no timer and no callback is left when this returns

    void Serve(CSocket& client)
    {
        // The kernel says who connected: what a client says about itself is no ground for handing out a PIN.
        ucred peer{};
        socklen_t uSize = sizeof peer;
        getsockopt(client.Get(), SOL_SOCKET, SO_PEERCRED, &peer, &uSize);

        const Message request = client.Receive();
        ArrayPointer pin;
        const HRESULT hr = request.empty() ? E_INVALIDARG : Handle(peer, request, pin);
        Message answer = SUCCEEDED(hr) && pin != nullptr ? ToBytes<Message>(pin.get()) : Message();
        answer.insert(answer.begin(), SUCCEEDED(hr) ? '+' : '-');
        client.Send(answer);
    }

private:
    HRESULT Handle(const ucred& peer, const Message& request, ArrayPointer& pin)
    {
        const auto ulProcess = static_cast<unsigned long>(peer.pid);
        const Message argument(request.begin() + 1, request.end());
        switch (request.front()) {
        case 's':
            return m_Store.SetPIN(ulProcess, m_Card.get(), m_PinId.get(), ToArray(argument).get(), nullptr, nullptr);
        case 'g': {
            SAFEARRAY* psaPin = nullptr;
            int nState = OV::AuthStore::PINStateNotCached;
            const HRESULT hr = m_Store.GetPIN(ulProcess, m_Card.get(), m_PinId.get(), nullptr, &psaPin, nullptr, &nState);
            pin.reset(psaPin);
            return hr;
        }
        case 'e':
            return peer.uid == 0 || peer.uid == geteuid() ? End(std::stoul(std::string(argument.begin(), argument.end()))) : E_ACCESSDENIED;
        default:
            return E_INVALIDARG;
        }
    }

    // First shut, then flush: a process of the session that lingers can't store a PIN in between. The store opens for
    // the session again after DisableTimeoutAfterEndSession seconds, when its number may belong to another login.
    HRESULT End(unsigned long ulSession)
    {
        Check(m_Store.SetAvailabilityStoreFromSessionId(ulSession, 0), "shutting the store");
        const HRESULT hr = m_Store.FlushStoreFromSessionId(ulSession);
        return hr == E_INVALIDARG ? S_OK : hr; // no PIN was cached
    }

    CInternalAuthStore m_Store;
    StringPointer m_Card = Bstr("Card1"); // a real service takes both from the request
    StringPointer m_PinId = Bstr("User");
};

void Serve(const char* pszPath)
{
    CService service;
    unlink(pszPath);
    const CSocket listener = CSocket::At(pszPath, bind);
    listen(listener.Get(), 16);

    // The signal comes only while poll waits, so none is lost and no request is cut off.
    static volatile std::sig_atomic_t bStop = 0;
    std::signal(SIGTERM, [](int) { bStop = 1; });
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    sigprocmask(SIG_BLOCK, &blocked, &before);
    pollfd waiting{listener.Get(), POLLIN, 0};
    while (bStop == 0) {
        if (ppoll(&waiting, 1, nullptr, &before) == 1) {
            try {
                CSocket client(accept4(listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
                service.Serve(client);
            } catch (const std::exception& exception) { // of one client
                std::fprintf(stderr, "session-service: %s\n", exception.what());
            }
        }
    }
    unlink(pszPath);
}

bool Ask(const char* pszPath, const std::string& sOperation, const std::string& sSession)
{
    Message request{static_cast<unsigned char>(sOperation.front())};
    request.insert(request.end(), sSession.begin(), sSession.end());
    if (sOperation == "set") {
        request.resize(MaxMessage);
        request.resize(1 + static_cast<std::size_t>(std::max<ssize_t>(read(STDIN_FILENO, &request[1], MaxMessage - 1), 0)));
    }
    CSocket service = CSocket::At(pszPath, connect);
    service.Send(request);
    const Message answer = service.Receive();
    const bool bDone = !answer.empty() && answer.front() == '+';
    if (!bDone) {
        std::puts("refused");
    } else if (answer.size() == 1) {
        std::puts("done");
    } else {
        std::printf("%.*s\n", static_cast<int>(answer.size()) - 1, reinterpret_cast<const char*>(&answer[1]));
    }
    return bDone;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string sOperation = argc > 2 ? argv[2] : "";
    if (sOperation == "end" ? argc != 4 : argc != 3 || (sOperation != "serve" && sOperation != "set" && sOperation != "get")) {
        std::fprintf(stderr, "usage: session-service SOCKET serve | set | get | end SESSION\n");
        return 2;
    }
    try {
        if (sOperation == "serve") {
            Serve(argv[1]);
            return 0;
        }
        return Ask(argv[1], sOperation, argc == 4 ? argv[3] : "") ? 0 : 1;
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "session-service: %s\n", exception.what());
        return 1;
    }
}
