// Files on the device, through the SFNC File Access Control features
// (FileSelector, FileOperationSelector, FileOperationExecute, FileOpenMode,
// FileAccessBuffer, FileAccessOffset, FileAccessLength, FileOperationStatus,
// FileOperationResult, FileSize), as standard streams.
#pragma once

#include <algorithm>
#include <cstdint>
#include <ios>
#include <istream>
#include <memory>
#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

#include "GenApi/Interfaces.h"

namespace GenApi {

class IFileProtocolAdapter {
public:
    virtual ~IFileProtocolAdapter() = default;
    virtual bool attach(INodeMap* nodeMap) = 0;
    virtual bool openFile(const char* fileName, std::ios_base::openmode mode) = 0;
    virtual bool closeFile(const char* fileName) = 0;
    virtual std::streamsize write(const char* buffer, int64_t offset, int64_t length, const char* fileName) = 0;
    virtual std::streamsize read(char* buffer, int64_t offset, std::streamsize length, const char* fileName) = 0;
    virtual int64_t getBufSize(const char* fileName, std::ios_base::openmode mode) = 0;
    virtual bool deleteFile(const char* fileName) = 0;
};

// Drives the file access features. attach() answers false when the node map
// lacks them; every operation the device reports as failed raises a
// GenICam::RuntimeException naming the operation and the file.
class FileProtocolAdapter : public IFileProtocolAdapter {
public:
    FileProtocolAdapter();
    ~FileProtocolAdapter() override;
    bool attach(INodeMap* nodeMap) override;
    bool openFile(const char* fileName, std::ios_base::openmode mode) override;
    bool closeFile(const char* fileName) override;
    std::streamsize write(const char* buffer, int64_t offset, int64_t length, const char* fileName) override;
    std::streamsize read(char* buffer, int64_t offset, std::streamsize length, const char* fileName) override;
    int64_t getBufSize(const char* fileName, std::ios_base::openmode mode) override;
    bool deleteFile(const char* fileName) override;
    // The device's FileSize for the file.
    int64_t fileSize(const char* fileName);

    struct Features;

private:
    std::unique_ptr<Features> f_;
};

// Reads a device file.
template <typename CharType, typename Traits = std::char_traits<CharType>>
class IDevFileStreamBuf : public std::basic_streambuf<CharType, Traits> {
public:
    using int_type = typename Traits::int_type;
    IDevFileStreamBuf() = default;
    ~IDevFileStreamBuf() override {
        try {
            close();
        } catch (...) {
        }
    }
    // nullptr when the node map has no file access features; a device that
    // refuses the file raises.
    IDevFileStreamBuf* open(INodeMap* nodeMap, const char* fileName, std::ios_base::openmode mode = std::ios_base::in) {
        if (adapter_) return nullptr;
        auto adapter = std::make_unique<FileProtocolAdapter>();
        if (!adapter->attach(nodeMap)) return nullptr;
        adapter->openFile(fileName, mode);
        fileName_ = fileName;
        size_t chunk = static_cast<size_t>(std::max<int64_t>(1, adapter->getBufSize(fileName, mode)));
        buffer_.assign(chunk / sizeof(CharType) + 1, CharType());
        adapter_ = std::move(adapter);
        position_ = 0;
        this->setg(buffer_.data(), buffer_.data(), buffer_.data());
        return this;
    }
    bool is_open() const { return adapter_ != nullptr; }
    IDevFileStreamBuf* close() {
        if (!adapter_) return nullptr;
        auto adapter = std::move(adapter_);
        adapter->closeFile(fileName_.c_str());
        return this;
    }

protected:
    int_type underflow() override {
        if (!adapter_) return Traits::eof();
        if (this->gptr() < this->egptr()) return Traits::to_int_type(*this->gptr());
        std::streamsize bytes = static_cast<std::streamsize>((buffer_.size() - 1) * sizeof(CharType));
        std::streamsize got = adapter_->read(reinterpret_cast<char*>(buffer_.data()), position_, bytes, fileName_.c_str());
        if (got <= 0) return Traits::eof();
        position_ += got;
        this->setg(buffer_.data(), buffer_.data(), buffer_.data() + got / static_cast<std::streamsize>(sizeof(CharType)));
        return Traits::to_int_type(*this->gptr());
    }

private:
    std::unique_ptr<FileProtocolAdapter> adapter_;
    std::string fileName_;
    std::vector<CharType> buffer_;
    int64_t position_ = 0;
};

// Writes a device file; what is buffered goes to the device on sync and close.
template <typename CharType, typename Traits = std::char_traits<CharType>>
class ODevFileStreamBuf : public std::basic_streambuf<CharType, Traits> {
public:
    using int_type = typename Traits::int_type;
    ODevFileStreamBuf() = default;
    ~ODevFileStreamBuf() override {
        try {
            close();
        } catch (...) {
        }
    }
    ODevFileStreamBuf* open(INodeMap* nodeMap, const char* fileName,
                            std::ios_base::openmode mode = std::ios_base::out | std::ios_base::trunc) {
        if (adapter_) return nullptr;
        auto adapter = std::make_unique<FileProtocolAdapter>();
        if (!adapter->attach(nodeMap)) return nullptr;
        adapter->openFile(fileName, mode);
        fileName_ = fileName;
        size_t chunk = static_cast<size_t>(std::max<int64_t>(1, adapter->getBufSize(fileName, mode)));
        buffer_.assign(std::max<size_t>(1, chunk / sizeof(CharType)), CharType());
        adapter_ = std::move(adapter);
        position_ = 0;
        this->setp(buffer_.data(), buffer_.data() + buffer_.size());
        return this;
    }
    bool is_open() const { return adapter_ != nullptr; }
    ODevFileStreamBuf* close() {
        if (!adapter_) return nullptr;
        struct Release {
            ODevFileStreamBuf& b;
            ~Release() { b.adapter_.reset(); }
        } release{*this};
        flush();
        adapter_->closeFile(fileName_.c_str());
        return this;
    }

protected:
    int_type overflow(int_type c) override {
        if (!adapter_) return Traits::eof();
        flush();
        if (!Traits::eq_int_type(c, Traits::eof())) {
            *this->pptr() = Traits::to_char_type(c);
            this->pbump(1);
        }
        return Traits::not_eof(c);
    }
    int sync() override {
        if (adapter_) flush();
        return 0;
    }

private:
    void flush() {
        std::streamsize n = (this->pptr() - this->pbase()) * static_cast<std::streamsize>(sizeof(CharType));
        if (n > 0) {
            adapter_->write(reinterpret_cast<const char*>(this->pbase()), position_, n, fileName_.c_str());
            position_ += n;
        }
        this->setp(buffer_.data(), buffer_.data() + buffer_.size());
    }

    std::unique_ptr<FileProtocolAdapter> adapter_;
    std::string fileName_;
    std::vector<CharType> buffer_;
    int64_t position_ = 0;
};

// The streams raise the GenICam exception of a failed device operation
// (their exception mask includes badbit).
template <typename CharType, typename Traits = std::char_traits<CharType>>
class IDevFileStreamBase : public std::basic_istream<CharType, Traits> {
public:
    IDevFileStreamBase() : std::basic_istream<CharType, Traits>(&buf_) { this->exceptions(std::ios_base::badbit); }
    IDevFileStreamBase(INodeMap* nodeMap, const char* fileName, std::ios_base::openmode mode = std::ios_base::in)
        : IDevFileStreamBase() {
        open(nodeMap, fileName, mode);
    }
    void open(INodeMap* nodeMap, const char* fileName, std::ios_base::openmode mode = std::ios_base::in) {
        if (!buf_.open(nodeMap, fileName, mode)) this->setstate(std::ios_base::failbit);
        else this->clear();
    }
    bool is_open() const { return buf_.is_open(); }
    void close() {
        if (!buf_.close()) this->setstate(std::ios_base::failbit);
    }
    IDevFileStreamBuf<CharType, Traits>* rdbuf() const { return const_cast<IDevFileStreamBuf<CharType, Traits>*>(&buf_); }

private:
    IDevFileStreamBuf<CharType, Traits> buf_;
};

template <typename CharType, typename Traits = std::char_traits<CharType>>
class ODevFileStreamBase : public std::basic_ostream<CharType, Traits> {
public:
    ODevFileStreamBase() : std::basic_ostream<CharType, Traits>(&buf_) { this->exceptions(std::ios_base::badbit); }
    ODevFileStreamBase(INodeMap* nodeMap, const char* fileName,
                       std::ios_base::openmode mode = std::ios_base::out | std::ios_base::trunc)
        : ODevFileStreamBase() {
        open(nodeMap, fileName, mode);
    }
    void open(INodeMap* nodeMap, const char* fileName,
              std::ios_base::openmode mode = std::ios_base::out | std::ios_base::trunc) {
        if (!buf_.open(nodeMap, fileName, mode)) this->setstate(std::ios_base::failbit);
        else this->clear();
    }
    bool is_open() const { return buf_.is_open(); }
    void close() {
        if (!buf_.close()) this->setstate(std::ios_base::failbit);
    }
    ODevFileStreamBuf<CharType, Traits>* rdbuf() const { return const_cast<ODevFileStreamBuf<CharType, Traits>*>(&buf_); }

private:
    ODevFileStreamBuf<CharType, Traits> buf_;
};

using IDevFileStream = IDevFileStreamBase<char>;
using ODevFileStream = ODevFileStreamBase<char>;

} // namespace GenApi
