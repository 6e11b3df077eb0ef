#include "MulticastInterfaces.h"

#include <gmock/gmock.h>

#include "RecordingReporter.h"
#include "ScopedInstance.h"
#include "ScriptedSocket.h"

using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

namespace {

const SPW_CIpAddress kWired(10, 0, 0, 1);
const SPW_CIpAddress kWireless(192, 168, 1, 7);

class MulticastInterfacesTest : public testing::Test {
protected:
    std::vector<std::string> enumerate(MulticastInterfaces& interfaces) {
        interfaces.getAllInterfaces();
        std::vector<std::string> texts;
        for (int i = 0; i < interfaces.addresses().numberOfElements(); ++i) {
            texts.emplace_back(interfaces.addresses()[i].toText().toAnsi());
        }
        return texts;
    }
    // A fatal report from that place.
    static auto isFrom(const char* module, int line, const char* tag, const char* message) {
        return AllOf(IsReport(tag, "getAllInterfaces", 111, message), Field(&RecordedReport::module, module),
                     Field(&RecordedReport::line, line), Field(&RecordedReport::caption, "Internal Fatal Error"));
    }

    RecordingReporter reporter;
    ScriptedSocket sockets;
    ScopedInstance<SPW_CSocket> installed{sockets};
    std::vector<std::string> failures;
    const MulticastInterfaces::JoinFailed keepFailure = [this](SPW_Result code, const SPW_CString& message) {
        failures.push_back(std::to_string(code) + ": " + message.toAnsi());
    };
    MulticastInterfaces connectors{MulticastInterfaces::kConnectorPlace};
    MulticastInterfaces listeners{MulticastInterfaces::kListenerPlace};
};

const char kNone[] = "no interfaces currently available ... please restart when an interface is available";

}  // namespace

TEST_F(MulticastInterfacesTest, AreTheAddressesOfTheHostNameInOrder) {
    sockets.setAddresses({kWireless, kWired});
    EXPECT_THAT(enumerate(connectors), ElementsAre("192.168.1.7", "10.0.0.1"));
    EXPECT_THAT(reporter.takeReports(), IsEmpty());
}

TEST_F(MulticastInterfacesTest, ThreeAddressesAreNeverUsedAndNoOther) {
    sockets.setAddresses({SPW_CIpAddress(0, 0, 0, 0), SPW_CIpAddress(127, 0, 0, 1), SPW_CIpAddress(192, 168, 55, 101),
                          SPW_CIpAddress(127, 0, 0, 2), SPW_CIpAddress(192, 168, 55, 100),
                          SPW_CIpAddress(101, 55, 168, 192)});
    EXPECT_THAT(enumerate(connectors), ElementsAre("127.0.0.2", "192.168.55.100", "101.55.168.192"));
}

TEST_F(MulticastInterfacesTest, ConnectorWithoutAnyReports) {
    sockets.setAddresses({SPW_CIpAddress(127, 0, 0, 1), SPW_CIpAddress(192, 168, 55, 101)});
    EXPECT_THAT(enumerate(connectors), IsEmpty());
    EXPECT_THAT(reporter.takeReports(), ElementsAre(isFrom("VTR_CMulticastConnector", 166, "MCC", kNone)));
}

TEST_F(MulticastInterfacesTest, ListenerWithoutAnySaysNothing) {
    sockets.setAddresses({SPW_CIpAddress(127, 0, 0, 1)});
    EXPECT_THAT(enumerate(listeners), IsEmpty());
    EXPECT_THAT(reporter.takeReports(), IsEmpty());
}

TEST_F(MulticastInterfacesTest, HostNameThatCannotBeHadIsReportedAndTheLookUpGoesOn) {
    sockets.failNext(ScriptedSocket::kHostName, kSockFault, 2);
    EXPECT_THAT(enumerate(connectors), IsEmpty());
    EXPECT_THAT(reporter.takeReports(),
                ElementsAre(isFrom("VTR_CMulticastConnector", 128, "MCC", "gethostname failed"),
                            isFrom("VTR_CMulticastConnector", 135, "MCC", "gethostbyname failed"),
                            isFrom("VTR_CMulticastConnector", 166, "MCC", kNone)));
    EXPECT_THAT(enumerate(listeners), IsEmpty());
    EXPECT_THAT(reporter.takeReports(),
                ElementsAre(isFrom("VTR_CMulticastListener", 94, "MCL", "gethostname failed"),
                            isFrom("VTR_CMulticastListener", 101, "MCL", "gethostbyname failed")));
    EXPECT_EQ(sockets.calls(ScriptedSocket::kResolve), 2);
}

TEST_F(MulticastInterfacesTest, HostNameThatCannotBeResolvedIsReported) {
    sockets.failNext(ScriptedSocket::kResolve, kSockHostNotFound, 2);
    EXPECT_THAT(enumerate(connectors), IsEmpty());
    EXPECT_THAT(reporter.takeReports(),
                ElementsAre(isFrom("VTR_CMulticastConnector", 135, "MCC", "gethostbyname failed"),
                            isFrom("VTR_CMulticastConnector", 166, "MCC", kNone)));
    EXPECT_THAT(enumerate(listeners), IsEmpty());
    EXPECT_THAT(reporter.takeReports(),
                ElementsAre(isFrom("VTR_CMulticastListener", 101, "MCL", "gethostbyname failed")));
}

TEST_F(MulticastInterfacesTest, RejoinLeavesWhatIsKnownAndJoinsWhatThereIs) {
    const SPW_Socket socket = sockets.openUdp();
    sockets.setAddresses({kWired, kWireless});
    listeners.rejoin(socket, u"228.227.226.225", keepFailure);
    EXPECT_EQ(sockets.memberships().size(), 2u);
    sockets.setAddresses({kWireless});
    listeners.rejoin(socket, u"228.227.226.225", keepFailure);
    EXPECT_THAT(sockets.memberships(), ElementsAre(Field(&ScriptedSocket::Membership::interfaceAddress, kWireless)));
    EXPECT_EQ(sockets.calls(ScriptedSocket::kDropGroup), 2);
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(MulticastInterfacesTest, EveryRefusedJoinIsReportedWithItsInterface) {
    sockets.setAddresses({kWired, kWireless});
    sockets.failNext(ScriptedSocket::kJoinGroup, kSockNoProtocolOption, 2);
    connectors.rejoin(sockets.openUdp(), u"228.227.226.225", keepFailure);
    EXPECT_THAT(failures, ElementsAre("10042: setsockopt IP_ADD_MEMBERSHIP to 10.0.0.1 failed reason: 10042",
                                      "10042: setsockopt IP_ADD_MEMBERSHIP to 192.168.1.7 failed reason: 10042"));
}

TEST_F(MulticastInterfacesTest, SecondAddressOfAnInterfaceFindsItJoinedAndThatIsNoFailure) {
    sockets.setAddresses({kWired, SPW_CIpAddress(10, 0, 0, 2), kWireless});
    sockets.failJoinOn(SPW_CIpAddress(10, 0, 0, 2), kSockAddressInUse);
    connectors.rejoin(sockets.openUdp(), u"228.227.226.225", keepFailure);
    EXPECT_THAT(failures, IsEmpty());
    EXPECT_THAT(sockets.memberships(), ElementsAre(Field(&ScriptedSocket::Membership::interfaceAddress, kWired),
                                                   Field(&ScriptedSocket::Membership::interfaceAddress, kWireless)));
}

TEST_F(MulticastInterfacesTest, GroupThatIsNoAddressIsRefusedByTheSocketLayer) {
    sockets.setAddresses({kWired});
    connectors.rejoin(sockets.openUdp(), u"group", keepFailure);
    EXPECT_THAT(failures, ElementsAre("10022: setsockopt IP_ADD_MEMBERSHIP to 10.0.0.1 failed reason: 10022"));
}
