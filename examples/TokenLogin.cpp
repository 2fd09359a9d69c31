// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

// A token's PIN, typed once for all components of a process: each opens the token for itself, takes the PIN from the
// PIN cache and signs. On its way the tour asks for policies to be set and for the PIN to be changed elsewhere.
//
// usage: token-login MODULE              MODULE is a PKCS#11 module, whose first token gets two key pairs
//        token-login MODULE change-pin

#include "Token.h"

#include <cstdlib>
#include <termios.h>
#include <unistd.h>

namespace
{

using namespace OV::AuthStore;

const SKey MailKey{"mail", false};
const SKey ContractKey{"contract", true};

// A line from standard input, not shown. A stream would keep it in its buffer.
Pin Ask(const std::string& sPrompt)
{
    std::printf("   > %s\n", sPrompt.c_str());
    termios before{};
    tcgetattr(STDIN_FILENO, &before); // these calls do nothing where there is no terminal
    termios silent = before;
    silent.c_lflag &= ~tcflag_t{ECHO};
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    Pin line;
    unsigned char uByte = 0;
    while (read(STDIN_FILENO, &uByte, 1) == 1 && uByte != '\n') {
        line.push_back(uByte);
    }
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &before);
    if (uByte != '\n') {
        throw std::runtime_error("standard input ended before the answer");
    }
    return line;
}

class CTour
{
public:
    CTour(const std::string& sModule, const CK_TOKEN_INFO& info)
        : m_sModule(sModule), m_Cache({std::begin(info.serialNumber), std::end(info.serialNumber)})
    {}

    void Run()
    {
        std::printf("1. Four components sign in turn, each with a login of its own\n");
        for (int i = 0; i < 4; ++i) {
            Sign(MailKey);
        }
        std::printf("2. A key that demands its PIN on every use; unless the policy says otherwise, the user types it each time\n");
        Sign(ContractKey);
        Show(ContractKey, "after that use");
        Ask("Set the policy EnablePINCacheForPINAlwaysPrivateKeys=1 and press Enter:");
        Sign(ContractKey);
        std::printf("3. A cached PIN that is wrong by now is tried once\n");
        Ask("Change the PIN in another process and press Enter:");
        Sign(MailKey);
        Sign(MailKey);
        std::printf("4. A PIN that nobody uses expires\n");
        Ask("Set the policy Timeout=0 (5 seconds) and press Enter:");
        m_Cache.Remove(); // a cached PIN keeps the time that the policy gave it when it was stored
        Sign(MailKey);
        std::printf("   waiting for 5 seconds ...\n");
        usleep(5'300'000);
        Show(MailKey, "now");
        std::printf("Every signature was verified; the user typed the PIN %d times\n", m_nTyped);
    }

private:
    // What a component does: it shares nothing with the others but the PIN cache, and its login ends with its token.
    void Sign(const SKey& key)
    {
        CToken token(m_sModule);
        const Pin pin = Login(token, key);
        token.MakeKeyPair(key);
        token.Sign(key, pin);
    }

    // Logs in with the cached PIN where the policy allows that, else with one that the user types.
    Pin Login(CToken& token, const SKey& key)
    {
        const PINState state = Show(key, "before it signs");
        const bool bAllowed = state == PINStateCached || (state == PINStateConfirm && Ask("Use the cached PIN? [y]") == Pin{'y'});
        Pin pin = bAllowed ? m_Cache.Get(key.bEveryUse, state) : Pin();
        if (!pin.empty()) {
            if (token.Login(pin)) {
                return pin;
            }
            m_Cache.Remove(); // before anything else: each further try brings the token closer to its lock
            std::printf("   the token refuses the cached PIN%s; it is removed\n",
                        (token.Info().flags & CKF_USER_PIN_COUNT_LOW) != 0 ? " and counts a wrong try" : "");
        }
        ++m_nTyped;
        pin = Ask("PIN of the token:");
        if (!token.Login(pin)) {
            throw std::runtime_error("the token refuses the PIN");
        }
        m_Cache.Set(pin);
        m_Cache.Get(key.bEveryUse, Show(key, "stored with Action=Authenticate")); // the one use that this permits begins here
        return pin;
    }

    PINState Show(const SKey& key, const char* pszWhen)
    {
        static constexpr const char* Names[] = {"not cached", "cached", "cached, to be confirmed"};
        const PINState state = m_Cache.State(key.bEveryUse);
        std::printf("   key %s, %s: the PIN is %s\n", key.pszLabel, pszWhen, Names[state]);
        return state;
    }

    std::string m_sModule;
    CPinCache m_Cache;
    int m_nTyped = 0;
};

} // namespace

int main(int argc, char** argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0); // whoever answers may be reading from a pipe
    if (argc != 2 && (argc != 3 || std::string(argv[2]) != "change-pin")) {
        std::fprintf(stderr, "usage: token-login MODULE [change-pin]\n");
        return 2;
    }
    try {
        if (argc == 3) {
            const Pin oldPin = Ask("PIN of the token:");
            CToken(argv[1]).ChangePin(oldPin, Ask("new PIN:"));
        } else {
            CTour tour(argv[1], CToken(argv[1]).Info()); // that token is closed before the tour begins
            tour.Run();
        }
        return EXIT_SUCCESS;
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "token-login: %s\n", exception.what());
        return EXIT_FAILURE;
    }
}
