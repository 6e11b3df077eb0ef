#pragma once

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include "SPW_CNetworkInfo.h"
#include "SPW_CSysError.h"
#include "ScopedInstance.h"

// A network configuration of the test's choice. Stands in for the platform's as long as the object lives. Set the
// members before other threads ask.
//
// Answers as the platform does: the size first, then records that point into the caller's buffer. Each of the two calls
// can be made to fail, and the size that is told can be another than the true one.
class ScriptedNetworkInfo : public SPW_CNetworkInfo {
public:
    struct Address {
        std::string address;
        std::string mask;
    };
    using Addresses = std::vector<Address>;

    struct Network {
        std::string hostName;
        std::string domainName;
        Addresses currentDns;  // none: the pointer is null
        Addresses dnsServers;
        std::uint32_t nodeType = 0;
        std::string scopeId;
        std::uint32_t enableRouting = 0;
        std::uint32_t enableProxy = 0;
        std::uint32_t enableDns = 0;
    };

    struct Adapter {
        std::string name;
        std::string description;
        std::vector<std::uint8_t> hardwareAddress;  // the first 8 bytes are handed over, and the true length
        std::uint32_t index = 0;
        std::uint32_t type = 0;
        std::uint32_t dhcpEnabled = 0;
        Addresses addresses;
        Addresses gateways;
        Addresses dhcpServers;
        std::int32_t haveWins = 0;
        Addresses primaryWins;
        Addresses secondaryWins;
        std::intptr_t leaseObtained = 0;
        std::intptr_t leaseExpires = 0;
    };

    // How one of the two operations fares.
    struct Script {
        // Other than kSysOk: the answer to every call without a buffer, with one.
        SPW_Result failureOfSizeQuery = kSysOk;
        SPW_Result failureOfFilling = kSysOk;
        // Bytes told instead of the true size, if not 0.
        std::uint32_t toldSize = 0;
        std::atomic<int> sizeQueries{0};
        std::atomic<int> fillings{0};
    };

    ScriptedNetworkInfo() : m_installed(*this) {}

    Network network;
    std::vector<Adapter> adapterList;  // an empty one answers kSysNoData
    Script networkScript;
    Script adapterScript;
    // What is done to the filled buffer before the caller gets it.
    std::function<void(SPW_NetworkParameters*)> spoilNetwork;
    std::function<void(SPW_AdapterRecord*)> spoilAdapters;

    SPW_Result networkParameters(SPW_NetworkParameters* buffer, std::uint32_t& size) override {
        const std::size_t needed =
            sizeof(SPW_NetworkParameters) + bytesOf(network.currentDns) + bytesBehindFirst(network.dnsServers);
        const SPW_Result code = answer(networkScript, buffer, needed, size);
        if (code != kSysOk) {
            return code;
        }
        write(*new (buffer) SPW_NetworkParameters());
        if (spoilNetwork) {
            spoilNetwork(buffer);
        }
        return kSysOk;
    }

    SPW_Result adapters(SPW_AdapterRecord* buffer, std::uint32_t& size) override {
        if (adapterList.empty()) {
            ++adapterScript.sizeQueries;
            return adapterScript.failureOfSizeQuery != kSysOk ? adapterScript.failureOfSizeQuery : kSysNoData;
        }
        std::size_t needed = adapterList.size() * sizeof(SPW_AdapterRecord);
        for (const Adapter& adapter : adapterList) {
            for (const Addresses* list : {&adapter.addresses, &adapter.gateways, &adapter.dhcpServers,
                                          &adapter.primaryWins, &adapter.secondaryWins}) {
                needed += bytesBehindFirst(*list);
            }
        }
        const SPW_Result code = answer(adapterScript, buffer, needed, size);
        if (code != kSysOk) {
            return code;
        }
        Node* free = reinterpret_cast<Node*>(buffer + adapterList.size());
        for (std::size_t i = 0; i < adapterList.size(); ++i) {
            write(adapterList[i], *new (buffer + i) SPW_AdapterRecord(), free);
            buffer[i].next = i + 1 < adapterList.size() ? buffer + i + 1 : nullptr;
        }
        if (spoilAdapters) {
            spoilAdapters(buffer);
        }
        return kSysOk;
    }

private:
    using Node = SPW_AddressNode;

    static std::size_t bytesOf(const Addresses& list) { return list.size() * sizeof(Node); }
    // The first node is part of the record.
    static std::size_t bytesBehindFirst(const Addresses& list) {
        return list.empty() ? 0 : (list.size() - 1) * sizeof(Node);
    }

    static SPW_Result answer(Script& script, const void* buffer, std::size_t needed, std::uint32_t& size) {
        const bool query = buffer == nullptr;
        ++(query ? script.sizeQueries : script.fillings);
        const SPW_Result failure = query ? script.failureOfSizeQuery : script.failureOfFilling;
        if (failure != kSysOk) {
            return failure;
        }
        const bool fits = !query && size >= needed;
        size = query && script.toldSize != 0 ? script.toldSize : static_cast<std::uint32_t>(needed);
        return fits ? SPW_Result(kSysOk) : SPW_Result(kSysBufferOverflow);
    }

    // A text that is as long as its field has no room for its null.
    template <std::size_t size>
    static void writeText(char (&field)[size], const std::string& text) {
        std::memcpy(field, text.data(), std::min(size, text.size()));
    }

    static void write(const Address& address, Node& node) {
        writeText(node.address, address.address);
        writeText(node.mask, address.mask);
    }

    // The nodes behind the first take the places from `free` on.
    static void write(const Addresses& list, Node& first, Node*& free) {
        Node* node = &first;
        for (std::size_t i = 0; i < list.size(); ++i) {
            if (i > 0) {
                node->next = new (free++) Node();
                node = node->next;
            }
            write(list[i], *node);
        }
    }

    void write(SPW_NetworkParameters& record) const {
        writeText(record.hostName, network.hostName);
        writeText(record.domainName, network.domainName);
        Node* free = reinterpret_cast<Node*>(&record + 1);
        if (!network.currentDns.empty()) {
            record.currentDnsServer = new (free++) Node();
            write(network.currentDns, *record.currentDnsServer, free);
        }
        write(network.dnsServers, record.dnsServerList, free);
        record.nodeType = network.nodeType;
        writeText(record.scopeId, network.scopeId);
        record.enableRouting = network.enableRouting;
        record.enableProxy = network.enableProxy;
        record.enableDns = network.enableDns;
    }

    static void write(const Adapter& adapter, SPW_AdapterRecord& record, Node*& free) {
        writeText(record.adapterName, adapter.name);
        writeText(record.description, adapter.description);
        record.addressLength = static_cast<std::uint32_t>(adapter.hardwareAddress.size());
        std::copy_n(adapter.hardwareAddress.begin(), std::min<std::size_t>(adapter.hardwareAddress.size(), 8),
                    record.address);
        record.index = adapter.index;
        record.type = adapter.type;
        record.dhcpEnabled = adapter.dhcpEnabled;
        write(adapter.addresses, record.ipAddressList, free);
        write(adapter.gateways, record.gatewayList, free);
        write(adapter.dhcpServers, record.dhcpServer, free);
        record.haveWins = adapter.haveWins;
        write(adapter.primaryWins, record.primaryWinsServer, free);
        write(adapter.secondaryWins, record.secondaryWinsServer, free);
        record.leaseObtained = adapter.leaseObtained;
        record.leaseExpires = adapter.leaseExpires;
    }

    const ScopedInstance<SPW_CNetworkInfo> m_installed;
};
