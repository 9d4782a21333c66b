// SPDX-License-Identifier: MIT
// Identifiers of self-tests and events: one 32-bit number each, which stands in decimal in every
// key and bus payload about it.
//
//   bits 31-28  module: the unit of the terminal
//   bits 27-26  kind: 0 PAST, 1 POST, 2 CM event, 3 event
//   bits 25-20  module id: the instance or sub-unit within the module
//   bits 19-0   test id: the test or event within the module
//
// The module and the module id are given in position (module 4 is 0x40000000, module id 1 is
// 0x00100000); bits outside a field are dropped.
#pragma once

class CEventId {
public:
    CEventId();
    CEventId(unsigned int module, unsigned int module_id, unsigned int test_id);
    explicit CEventId(unsigned int packed); // taken as it is, whatever its kind
    CEventId(const CEventId&) = default;
    CEventId& operator=(const CEventId&) = default;
    virtual ~CEventId();

    unsigned int packed() const { return packed_; }

    // The three fields as plain numbers.
    unsigned int moduleNumber() const { return packed_ >> 28U; }
    unsigned int moduleIdNumber() const { return packed_ >> 20U & 0x3FU; }
    unsigned int testId() const { return packed_ & 0x000FFFFFU; }

    // Puts the printable name of the module into `text` and returns `text`. A buffer of 24 bytes
    // or less is left alone.
    char* show(char* text, unsigned int size) const;

private:
    unsigned int packed_;
};

class CPostId : public CEventId {
public:
    CPostId();
    CPostId(unsigned int module, unsigned int module_id, unsigned int test_id);
    explicit CPostId(unsigned int packed);
    CPostId(const CPostId&) = default;
    CPostId& operator=(const CPostId&) = default;
    ~CPostId() override;
};

class CCmEventId : public CEventId {
public:
    CCmEventId();
    CCmEventId(unsigned int module, unsigned int module_id, unsigned int test_id);
    explicit CCmEventId(unsigned int packed);
    CCmEventId(const CCmEventId&) = default;
    CCmEventId& operator=(const CCmEventId&) = default;
    ~CCmEventId() override;
};

class CPastId : public CEventId {
public:
    CPastId(unsigned int module, unsigned int module_id, unsigned int test_id);
    explicit CPastId(unsigned int packed);
    CPastId(const CPastId&) = default;
    CPastId& operator=(const CPastId&) = default;
    ~CPastId() override;
};
