#include "link/QtCloneTimers.h"
#include "link/QtComPorts.h"
#include "link/QtSerialPort.h"
#include "tests/Files.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QDeadlineTimer>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <numeric>

#include <grp.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

namespace k470 {
namespace {

using Kind = PortFailure::Kind;

constexpr int PatienceMs = 10000;
constexpr uid_t Nobody = 65534;
constexpr int Opened = 100; ///< exit code beyond those of the failures

/// Turns the event loop until the condition holds. @return whether it came to hold
bool WaitFor(const std::function<bool()> &condition) {
    const QDeadlineTimer limit(PatienceMs);
    while (!condition()) {
        if (limit.hasExpired())
            return false;
        QCoreApplication::processEvents();
    }
    return true;
}

/// Turns the event loop until everything that is queued now has run.
void RunQueued() {
    bool reached = false;
    QMetaObject::invokeMethod(
        qApp, [&reached] { reached = true; }, Qt::QueuedConnection);
    ASSERT_TRUE(WaitFor([&reached] { return reached; }));
}

/// @return whether the event loop comes to rest: a turn that finds nothing to do
bool ComesToRest() {
    return WaitFor(
        [] { return !QAbstractEventDispatcher::instance()->processEvents(QEventLoop::AllEvents); });
}

Bytes Count(int first, int count) {
    Bytes bytes(static_cast<std::size_t>(count));
    std::iota(bytes.begin(), bytes.end(), static_cast<std::uint8_t>(first));
    return bytes;
}

/// The radio's side of a pseudo-terminal. It holds the terminal itself open too, so that bytes in flight
/// outlive the adapter's closing.
class Peer {
public:
    Peer() {
        termios raw{};
        ::cfmakeraw(&raw);
        EXPECT_EQ(::openpty(&master_, &terminal, nullptr, &raw, nullptr), 0);
        device = ::ptsname(master_);
    }
    ~Peer() {
        HangUp();
        ::close(terminal);
    }
    Peer(const Peer &) = delete;
    Peer &operator=(const Peer &) = delete;

    void HangUp() {
        if (master_ >= 0)
            ::close(master_);
        master_ = -1;
    }

    /// Sends bytes without turning the event loop; they wait in the kernel afterwards.
    void Send(const Bytes &bytes) {
        const std::size_t all = InKernel() + bytes.size();
        ASSERT_EQ(::write(master_, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        const QDeadlineTimer limit(PatienceMs);
        while (InKernel() < all)
            ASSERT_FALSE(limit.hasExpired());
    }

    /// Sends bytes and turns the event loop until the adapter has taken them in and said so.
    void Deliver(const Bytes &bytes) {
        Send(bytes);
        ASSERT_TRUE(WaitFor([this] { return InKernel() == 0; }));
        RunQueued();
    }

    /// Sends more than the adapter holds and turns the event loop until it has found itself full.
    void Fill(const Bytes &bytes) {
        Send(bytes);
        ASSERT_TRUE(WaitFor([&] { return InKernel() == bytes.size() - InBufferSize; }));
        ASSERT_TRUE(ComesToRest()) << "a full buffer keeps the event loop busy";
    }

    /// @return exactly n bytes that the adapter sent, none when they do not come
    Bytes Receive(std::size_t n) const {
        Bytes bytes(WaitFor([&] { return Waiting(master_) >= n; }) ? n : 0);
        EXPECT_EQ(::read(master_, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        return bytes;
    }

    std::string device;
    int terminal = -1;

private:
    static std::size_t Waiting(int end) {
        int waiting = 0;
        ::ioctl(end, FIONREAD, &waiting);
        return static_cast<std::size_t>(waiting);
    }
    /// How many bytes wait outside the adapter.
    std::size_t InKernel() const { return Waiting(terminal); }

    int master_ = -1;
};

/// An adapter on COM1, and what it raised.
class SerialPortTest : public testing::Test {
protected:
    void SetUp() override {
        table = {{1, peer->device, ""}};
        port->SetCommPort(1);
        port->OnReceived([this] { ++notifications; });
        ASSERT_FALSE(port->Open());
    }

    std::unique_ptr<Peer> peer = std::make_unique<Peer>();
    ComPortTable table;
    std::unique_ptr<QtSerialPort> port = std::make_unique<QtSerialPort>([this] { return table; });
    int notifications = 0;
};

TEST_F(SerialPortTest, OpensWithTheLineSettingsAndWithoutOldBytes) {
    port->Close();
    peer->Send(Count(0, 30));
    port->SetReplyLength(1);
    ASSERT_FALSE(port->Open());
    termios settings{};
    ::tcgetattr(peer->terminal, &settings);
    EXPECT_EQ(::cfgetospeed(&settings), speed_t{B9600});
    EXPECT_EQ(settings.c_cflag & (CSIZE | CSTOPB | PARENB | CRTSCTS), tcflag_t{CS8 | CSTOPB});
    EXPECT_EQ(settings.c_iflag & (IXON | IXOFF), tcflag_t{0});
    peer->Deliver({7});
    EXPECT_EQ(notifications, 1);
    EXPECT_EQ(port->Input(), Bytes{7});
}

TEST_F(SerialPortTest, NotifiesOnceForAWholeReplyAndKeepsWhatFollowsForTheNextOne) {
    port->SetReplyLength(20);
    peer->Deliver(Count(0, 19));
    EXPECT_EQ(notifications, 0);
    peer->Deliver({19, 20});
    EXPECT_EQ(notifications, 1);
    EXPECT_EQ(port->Input(), Count(0, 20));
    RunQueued();
    EXPECT_EQ(notifications, 1);
    port->SetReplyLength(1);
    port->SetReplyLength(1);
    EXPECT_EQ(notifications, 1) << "raised inside a call";
    RunQueued();
    EXPECT_EQ(notifications, 2) << "more than one notification queued";
    EXPECT_EQ(port->Input(), Bytes{20});
    EXPECT_EQ(port->Input(), Bytes{});

    port->SetReplyLength(0); // turns the notification off and reads all
    peer->Deliver(Count(0, 5));
    EXPECT_EQ(notifications, 2);
    EXPECT_EQ(port->Input(), Count(0, 5));
}

TEST_F(SerialPortTest, RaisesAgainAfterEveryReadThatLeavesEnoughButNotInsideTheHandler) {
    std::vector<Bytes> reads;
    int depth = 0;
    int deepest = 0;
    port->OnReceived([&] {
        deepest = std::max(deepest, ++depth);
        reads.push_back(port->Input());
        RunQueued(); // a message box turns the event loop in the same way
        --depth;
    });
    port->SetReplyLength(2);
    peer->Deliver(Count(0, 7));
    ASSERT_TRUE(WaitFor([&] { return reads.size() == 3; }));
    EXPECT_EQ(reads, (std::vector<Bytes>{{0, 1}, {2, 3}, {4, 5}}));
    EXPECT_EQ(deepest, 1);
}

TEST_F(SerialPortTest, DropsAQueuedNotificationThatLostItsReason) {
    const std::function<void()> reasons[] = {
        [this] { port->EmptyBuffers(); },    [this] { port->Input(); },
        [this] { port->SetReplyLength(4); }, [this] { port->SetReplyLength(0); },
        [this] { port->OnReceived({}); },    [this] { port->Close(); },
    };
    for (const auto &lose : reasons) {
        port->OnReceived([this] { ++notifications; });
        ASSERT_FALSE(port->Open());
        port->SetReplyLength(3);
        peer->Deliver(Count(0, 3));
        notifications = 0;
        port->SetReplyLength(3); // queues one
        lose();
        RunQueued();
        EXPECT_EQ(notifications, 0) << "reason " << &lose - reasons;
    }
}

TEST_F(SerialPortTest, HearsAgainAfterAFullBufferIsEmptiedOrRead) {
    peer->Fill(Count(0, 3000));
    EXPECT_EQ(port->BytesWaiting(), 3000U) << "those in the kernel too";
    port->EmptyBuffers();
    EXPECT_EQ(port->BytesWaiting(), 0U);
    port->SetReplyLength(2);
    peer->Deliver({1, 2});
    EXPECT_EQ(notifications, 1);
    EXPECT_EQ(port->Input(), (Bytes{1, 2}));

    Bytes received;
    port->SetReplyLength(0);
    port->OnReceived([&] {
        for (const std::uint8_t byte : port->Input())
            received.push_back(byte);
    });
    peer->Fill(Count(0, 3000));
    port->SetReplyLength(20);
    EXPECT_TRUE(WaitFor([&] { return received.size() == 3000; }));
    EXPECT_EQ(received, Count(0, 3000));
}

TEST_F(SerialPortTest, StaysOpenWhenBytesAreEmptiedBeforeTheyAreTakenIn) {
    port->SetReplyLength(1);
    for (const int systemError : {0, EIO}) { // the reason of an earlier failure may stand in errno
        QMetaObject::invokeMethod(
            port.get(),
            [this, systemError] {
                port->EmptyBuffers();
                errno = systemError;
            },
            Qt::QueuedConnection);
        peer->Send({1});
        RunQueued();
        RunQueued();
        ASSERT_TRUE(port->IsOpen());
        notifications = 0;
        peer->Deliver({2});
        EXPECT_EQ(notifications, 1);
        EXPECT_EQ(port->Input(), Bytes{2});
    }
}

TEST_F(SerialPortTest, TheLastFrameBeforeClosingReachesTheRadio) {
    port->Output(Count(0, 20));
    port->Output(Bytes{20});
    port->Close();
    EXPECT_EQ(peer->Receive(21), Count(0, 21));
}

TEST_F(SerialPortTest, TellsWhetherAFrameCanBeAnsweredOnALineWithASpeed) {
    using namespace std::chrono_literals;
    for (const std::string baud : {"", "1", "9600"}) {
        qputenv("K470_PTY_BAUD", baud.c_str());
        ASSERT_FALSE(port->Open());
        EXPECT_TRUE(port->CanBeAnswered()) << "nothing was sent";
        port->SetReplyLength(20);
        const auto before = std::chrono::steady_clock::now();
        port->Output(Count(0, 20));
        port->Output(Count(0, 20));
        EXPECT_TRUE(baud == "9600" || port->CanBeAnswered() == baud.empty());
        if (baud == "9600") {
            EXPECT_TRUE(WaitFor([this] { return port->CanBeAnswered(); }));
            EXPECT_GE(std::chrono::steady_clock::now() - before, 59375us) << "60 bytes of 10 bits, 5 % fast";
        }
        port->Close();
        EXPECT_TRUE(port->CanBeAnswered()) << "a closed port sends nothing";
    }
    qunsetenv("K470_PTY_BAUD");
}

TEST_F(SerialPortTest, AHandlerMayDeleteThePort) {
    port->OnReceived([this] { port.reset(); });
    port->SetReplyLength(1);
    peer->Deliver(Count(0, 3));
    EXPECT_EQ(port, nullptr);
}

TEST_F(SerialPortTest, AHangUpClosesThePortInSilenceAndTheNextOpeningWorks) {
    const std::function<void()> meanwhile[] = {[] {}, [this] { port->Output(Bytes{1}); },
                                               [this] { port->EmptyBuffers(); }, [this] { port->Input(); }};
    for (const auto &call : meanwhile) {
        port->SetReplyLength(1);
        peer->HangUp();
        call();
        EXPECT_TRUE(WaitFor([this] { return !port->IsOpen(); }));
        EXPECT_TRUE(ComesToRest()) << "the event loop is kept busy";
        EXPECT_EQ(notifications, 0);

        peer = std::make_unique<Peer>();
        table[0].device = peer->device;
        ASSERT_FALSE(port->Open());
        peer->Deliver({9});
        EXPECT_EQ(notifications, 1);
        EXPECT_EQ(port->Input(), Bytes{9});
        notifications = 0;
    }
}

TEST_F(SerialPortTest, SaysWhyADeviceCannotBeOpened) {
    const TempFolder folder;
    const std::string base = folder.In("");
    Put(folder.In("file"), std::string());
    std::filesystem::create_symlink(folder.In("loop"), folder.In("loop"));
    ASSERT_EQ(::mkfifo(folder.In("pipe").c_str(), 0600), 0);
    const std::pair<std::string, Kind> cases[] = {
        {base + "missing", Kind::NoSuchDevice}, {base + "file/below", Kind::NoSuchDevice},
        {base + "loop", Kind::NoSuchDevice},    {base, Kind::NotSerial},
        {base + "file", Kind::NotSerial},       {base + "pipe", Kind::NotSerial},
        {"/dev/null", Kind::NotSerial},         {std::string(300, 'x'), Kind::Other},
    };
    for (const auto &[device, kind] : cases) {
        table = {{1, device, ""}};
        const std::optional<PortFailure> failure = port->Open();
        ASSERT_TRUE(failure) << device;
        EXPECT_EQ(failure->kind, kind) << device << ": " << failure->detail;
        EXPECT_EQ(failure->device, device);
        EXPECT_FALSE(port->IsOpen());
    }
    port->SetCommPort(2);
    const std::optional<PortFailure> failure = port->Open();
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Kind::NoSuchPort);
    EXPECT_EQ(failure->port, "COM2");
}

TEST_F(SerialPortTest, APortInUseIsBusyUnderEachOfItsNamesUntilItIsClosed) {
    const TempFolder folder;
    std::filesystem::create_symlink(peer->device, folder.In("by-id"));
    table.push_back({2, folder.In("by-id"), ""});
    QtSerialPort second([this] { return table; });
    for (const int number : {1, 2}) {
        second.SetCommPort(number);
        const std::optional<PortFailure> failure = second.Open();
        ASSERT_TRUE(failure) << number;
        EXPECT_EQ(failure->kind, Kind::Busy) << failure->detail;
    }
    port->Close();
    EXPECT_FALSE(second.Open());
}

/// Opens the device without the rights of root, which no permission and no exclusive terminal stops, and
/// exits with the failure's kind. @param largestFile  the size in bytes to which files are limited
[[noreturn]] void OpenAsOrdinaryUser(const std::string &device, rlim_t largestFile = RLIM_INFINITY) {
    const rlimit limit{.rlim_cur = largestFile, .rlim_max = RLIM_INFINITY};
    std::signal(SIGXFSZ, SIG_IGN);
    const bool ordinary =
        ::geteuid() != 0 || (::setgroups(0, nullptr) == 0 && ::setgid(Nobody) == 0 && ::setuid(Nobody) == 0);
    const bool limited = ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
    QtSerialPort port([&device] { return ComPortTable{{1, device, ""}}; });
    port.SetCommPort(1);
    const std::optional<PortFailure> failure = port.Open();
    ::_exit(!ordinary || !limited ? -1 : failure ? static_cast<int>(failure->kind) : Opened);
}

TEST_F(SerialPortTest, TellsADeniedDeviceFromABusyOne) {
    const auto exitsWith = [](Kind kind) { return testing::ExitedWithCode(static_cast<int>(kind)); };
    port->Close();
    ASSERT_EQ(::fchmod(peer->terminal, 0), 0);
    EXPECT_EXIT(OpenAsOrdinaryUser(peer->device), exitsWith(Kind::Denied), "");
    ASSERT_EQ(::fchmod(peer->terminal, 0666), 0);
    EXPECT_EXIT(OpenAsOrdinaryUser(peer->device), testing::ExitedWithCode(Opened), "")
        << "closing left the terminal exclusive";
    EXPECT_EXIT(OpenAsOrdinaryUser(peer->device, 1), exitsWith(Kind::NoLockFile), "");
    ASSERT_FALSE(port->Open());
    EXPECT_EXIT(OpenAsOrdinaryUser(peer->device, 1), exitsWith(Kind::Busy), "") << "its lock file is there";
    port->Close();
    ASSERT_EQ(::ioctl(peer->terminal, TIOCEXCL), 0);
    EXPECT_EXIT(OpenAsOrdinaryUser(peer->device), exitsWith(Kind::Busy), "");
}

TEST(SystemComPorts, TakesTheVariableAloneElseTheFileBeforeTheSystemsDevices) {
    const TempFolder folder;
    const std::string file = folder.In("k470/ports.conf");
    qputenv("XDG_CONFIG_HOME", folder.In("").c_str());
    std::filesystem::create_directory(ConfigFolder());
    Put(file, std::string("COM200=/dev/bench\n"));
    qputenv("K470_PORTS", "COM3=/dev/pts/7");
    EXPECT_EQ(SystemComPorts().front().number, 3);
    qputenv("K470_PORTS", "");
    EXPECT_TRUE(SystemComPorts().empty());
    qunsetenv("K470_PORTS");
    EXPECT_EQ(SystemComPorts().front().number, 200);
    ASSERT_TRUE(std::filesystem::remove(file));
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    EXPECT_EQ(FindComPort(SystemComPorts(), 200), nullptr);
}

/// The two timers of a session, and how often each has ticked.
class CloneTimersTest : public testing::Test {
protected:
    CloneTimersTest() {
        timers.Drive([this] { ++sends; }, [this] { ++overtimes; });
    }
    QtCloneTimers timers;
    int sends = 0;
    int overtimes = 0;
};

TEST_F(CloneTimersTest, SendAgainAndAgainAndAtOnceWhenHurried) {
    timers.HurrySend();
    RunQueued();
    EXPECT_TRUE(ComesToRest());
    EXPECT_EQ(sends, 0) << "nothing to hurry while the timer is off";
    EXPECT_EQ(timers.SendTimer().interval(), 1);
    timers.EnableSend(true);
    EXPECT_TRUE(WaitFor([this] { return sends == 3; }));
    timers.SendTimer().setInterval(1'000'000);
    sends = 0;
    timers.HurrySend();
    EXPECT_TRUE(WaitFor([this] { return sends == 1; }));
    EXPECT_TRUE(ComesToRest()) << "hurried once";
    timers.HurrySend();
    timers.EnableSend(false);
    EXPECT_TRUE(ComesToRest());
    EXPECT_EQ(sends, 1);
    EXPECT_EQ(overtimes, 0);
}

TEST_F(CloneTimersTest, TellOvertimeAfterTheIntervalThatWasSet) {
    timers.SetOvertimeInterval(1'000'000);
    timers.EnableOvertime(true);
    EXPECT_EQ(timers.OvertimeTimer().interval(), 1'000'000);
    timers.SetOvertimeInterval(1);
    EXPECT_TRUE(WaitFor([this] { return overtimes == 3; }));
    timers.EnableOvertime(false);
    EXPECT_TRUE(ComesToRest());
    EXPECT_EQ(overtimes, 3);
}

} // namespace
} // namespace k470
