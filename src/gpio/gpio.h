// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

// One line of the kernel's sysfs GPIO interface, its value file held open so that the loop can
// watch it.
//
// Construct with the line's number, initialize() once, use; uninitialize() or the destructor
// gives the line back when this object has exported it. Writes to the line's files are not
// checked: only a value file that cannot be opened is an error.
class Gpio {
public:
    enum dir_t : unsigned int { DIR_IN = 0, DIR_OUT = 1 }; // every value but 0 is an output

    explicit Gpio(unsigned int gpioNumber);
    Gpio(const Gpio&) = delete;
    Gpio& operator=(const Gpio&) = delete;
    virtual ~Gpio();

    // Opens the line with that number, exporting it first; or the line whose directory somebody
    // else has exported. Throws std::runtime_error when the value file cannot be opened. On an
    // open line the held descriptor is closed first.
    virtual void initialize(unsigned int gpioNumber, dir_t direction);
    virtual void initialize(const std::string& filePath, dir_t direction);

    virtual void uninitialize();

    virtual void setDirection(dir_t direction);

    // Throws std::logic_error on an input line.
    virtual void setValue(int value) const;

    // The first character of the value file: 48 for "0", 49 for "1"; 255 when it cannot be
    // read. Reading re-arms the kernel's change notification.
    virtual std::uint8_t getValue();

    virtual unsigned int getGpioNumber() const;

    // -1 when the line is closed.
    virtual int getFd() const;

    // False when the value file that is held open is not the one at its path any more: somebody
    // else has taken the line away, or taken it away and made it again.
    bool isCurrent() const;

    // The steps of the above. openGpioFile() does not close a descriptor that is held.
    void initialize(dir_t direction);
    void exportGpio();
    void unexportGpio();
    void initializeFilePath();
    void openGpioFile();

protected:
    // The line's directory; empty while unknown.
    const std::string& directory() const { return filePath; }

    // True when the kernel says that the open value file belongs to no line any more.
    bool isGone() const;

private:
    void closeValueFile();

    std::string filePath;
    dir_t direction;
    int fd;
    unsigned int gpioNumber;
    bool exported; // by this object
};
