#include "AddPeerForm.h"

#include <gtest/gtest.h>

#include "StringPrinting.h"

namespace {

typedef SPW_CArray<SPW_CString> Addresses;

AddPeerForm::Field faultOf(const AddPeerForm& form, SPW_CString& message, const Addresses& known = Addresses()) {
    const AddPeerForm::Field field = form.firstFault(known, message);
    EXPECT_EQ(message.isEmpty(), field == AddPeerForm::kFields);
    return field;
}

AddPeerForm::Field faultOf(const AddPeerForm& form) {
    SPW_CString message;
    return faultOf(form, message);
}

TEST(AddPeerFormTest, AcceptedUnchangedItIsTheNullAddressManuallyAdded) {
    const AddPeerForm form;
    ASSERT_EQ(faultOf(form), AddPeerForm::kFields);
    const PeerRecord peer = form.peer();
    EXPECT_EQ(peer.address, SPW_CString(u"0.0.0.0"));
    EXPECT_EQ(peer.name, SPW_CString(u"manually added"));
    EXPECT_TRUE(peer.udp && peer.tcp && peer.ping);
}

TEST(AddPeerFormTest, TheAddressIsTheFourOctetsInDecimal) {
    AddPeerForm form;
    form.texts[AddPeerForm::kFirstOctet] = u"10";
    form.texts[AddPeerForm::kSecondOctet] = u"0";
    form.texts[AddPeerForm::kThirdOctet] = u"00";
    form.texts[AddPeerForm::kFourthOctet] = u"007";
    form.texts[AddPeerForm::kName] = u"printer";
    ASSERT_EQ(faultOf(form), AddPeerForm::kFields);
    EXPECT_EQ(form.peer().address, SPW_CString(u"10.0.0.7"));
    EXPECT_EQ(form.peer().name, SPW_CString(u"printer"));
}

TEST(AddPeerFormTest, EveryOctetMayBe255) {
    AddPeerForm form;
    for (int octet = AddPeerForm::kFirstOctet; octet <= AddPeerForm::kFourthOctet; ++octet) {
        form.texts[octet] = u"255";
    }
    ASSERT_EQ(faultOf(form), AddPeerForm::kFields);
    EXPECT_EQ(form.peer().address, SPW_CString(u"255.255.255.255"));
}

TEST(AddPeerFormTest, ZerosBeforeAnOctetMeanNothingHoweverMany) {
    AddPeerForm form;
    form.texts[AddPeerForm::kFirstOctet] = u"0255";
    form.texts[AddPeerForm::kFourthOctet] = u"00000000000000000000010";
    ASSERT_EQ(faultOf(form), AddPeerForm::kFields);
    EXPECT_EQ(form.peer().address, SPW_CString(u"255.0.0.10"));
}

TEST(AddPeerFormTest, WhatIsNoOctetIsRefusedWhereverItStands) {
    for (int octet = AddPeerForm::kFirstOctet; octet <= AddPeerForm::kFourthOctet; ++octet) {
        for (const char16_t* text : {u"256", u"999", u"", u"-1", u"+1", u" 1", u"1 ", u"1a", u"0x1", u"4294967297",
                                     u"4294967296000", u"\u0661"}) {
            AddPeerForm form;
            form.texts[octet] = text;
            EXPECT_EQ(faultOf(form), octet) << SPW_CString(text).toAnsi();
        }
    }
    AddPeerForm form;
    form.texts[AddPeerForm::kThirdOctet] = u"256";
    SPW_CString message;
    (void)faultOf(form, message);
    EXPECT_EQ(message, SPW_CString(u"Please enter a whole number from 0 to 255"));
}

TEST(AddPeerFormTest, AName15CharactersLongIsAcceptedAndOneOf16Refused) {
    AddPeerForm form;
    form.texts[AddPeerForm::kName] = u"123456789012345";
    EXPECT_EQ(faultOf(form), AddPeerForm::kFields);
    form.texts[AddPeerForm::kName] = u"";
    EXPECT_EQ(faultOf(form), AddPeerForm::kFields);
    form.texts[AddPeerForm::kName] = u"1234567890123456";
    EXPECT_EQ(faultOf(form), AddPeerForm::kName);
    SPW_CString message;
    (void)faultOf(form, message);
    EXPECT_EQ(message, SPW_CString(u"Please enter at most 15 characters"));
}

TEST(AddPeerFormTest, AnAddressThatIsAPeerAlreadyIsRefusedHoweverItIsWritten) {
    Addresses known;
    known.append(u"10.0.0.6");
    known.append(u"10.0.0.7");
    AddPeerForm form;
    form.texts[AddPeerForm::kFirstOctet] = u"010";
    form.texts[AddPeerForm::kFourthOctet] = u"07";
    SPW_CString message;
    EXPECT_EQ(faultOf(form, message, known), AddPeerForm::kFourthOctet);
    EXPECT_EQ(message, SPW_CString(u"10.0.0.7 is a peer already"));
    form.texts[AddPeerForm::kFourthOctet] = u"70";
    EXPECT_EQ(faultOf(form, message, known), AddPeerForm::kFields);
}

TEST(AddPeerFormTest, TheFirstFaultInTabOrderIsNamed) {
    AddPeerForm form;
    form.texts[AddPeerForm::kSecondOctet] = u"x";
    form.texts[AddPeerForm::kFourthOctet] = u"x";
    form.texts[AddPeerForm::kName] = u"1234567890123456";
    EXPECT_EQ(faultOf(form), AddPeerForm::kSecondOctet);
}

}  // namespace
