#include <service/linux/dbus/Message.h>
#include <service/linux/dbus/Names.h>

#include <fcntl.h>

#include <cerrno>
#include <system_error>
#include <type_traits>

namespace pelacon::service::linux_radios::dbus {

namespace {

class Writer {
  public:
    explicit Writer(sd_bus_message* message) : message_(message) {}

    void Write(const Value& value) const { std::visit(*this, value.Get()); }

    void operator()(bool value) const
    {
        const int number = value ? 1 : 0;
        Basic(SD_BUS_TYPE_BOOLEAN, &number);
    }
    void operator()(std::uint8_t value) const { Basic(SD_BUS_TYPE_BYTE, &value); }
    void operator()(std::int16_t value) const { Basic(SD_BUS_TYPE_INT16, &value); }
    void operator()(std::uint16_t value) const { Basic(SD_BUS_TYPE_UINT16, &value); }
    void operator()(std::int32_t value) const { Basic(SD_BUS_TYPE_INT32, &value); }
    void operator()(std::uint32_t value) const { Basic(SD_BUS_TYPE_UINT32, &value); }
    void operator()(std::int64_t value) const { Basic(SD_BUS_TYPE_INT64, &value); }
    void operator()(std::uint64_t value) const { Basic(SD_BUS_TYPE_UINT64, &value); }
    void operator()(double value) const { Basic(SD_BUS_TYPE_DOUBLE, &value); }
    void operator()(const std::string& value) const { Basic(SD_BUS_TYPE_STRING, value.c_str()); }
    void operator()(const ObjectPath& value) const
    {
        Basic(SD_BUS_TYPE_OBJECT_PATH, value.text.c_str());
    }
    void operator()(const Bytes& value) const
    {
        Check(sd_bus_message_append_array(message_, SD_BUS_TYPE_BYTE, value.data(), value.size()),
              "cannot write bytes");
    }
    void operator()(const Array& value) const
    {
        Open(SD_BUS_TYPE_ARRAY, value.element);
        for (const Value& element : value.values) {
            Write(element);
        }
        Close();
    }
    void operator()(const Dictionary& value) const
    {
        const std::string entry = value.key + value.value;
        Open(SD_BUS_TYPE_ARRAY, "{" + entry + "}");
        for (const auto& [key, content] : value.entries) {
            Open(SD_BUS_TYPE_DICT_ENTRY, entry);
            Write(key);
            Write(content);
            Close();
        }
        Close();
    }
    void operator()(const Structure& value) const
    {
        std::string signature;
        for (const Value& field : value.fields) {
            signature += field.Signature();
        }
        Open(SD_BUS_TYPE_STRUCT, signature);
        for (const Value& field : value.fields) {
            Write(field);
        }
        Close();
    }
    void operator()(const Variant& value) const
    {
        Open(SD_BUS_TYPE_VARIANT, value.value->Signature());
        Write(*value.value);
        Close();
    }
    void operator()(const Handle& value) const
    {
        const int number = value.descriptor ? value.descriptor->Get() : -1;
        Basic(SD_BUS_TYPE_UNIX_FD, &number);
    }

  private:
    void Basic(char type, const void* value) const
    {
        Check(sd_bus_message_append_basic(message_, type, value), "cannot write a value");
    }
    void Open(char type, const std::string& contents) const
    {
        Check(sd_bus_message_open_container(message_, type, contents.c_str()),
              "cannot write a container");
    }
    void Close() const
    {
        Check(sd_bus_message_close_container(message_), "cannot end a container");
    }

    sd_bus_message* message_;
};

class Reader {
  public:
    explicit Reader(sd_bus_message* message) : message_(message) {}

    /// The remaining values of the container, or of the message.
    std::vector<Value> Rest() const
    {
        std::vector<Value> values;
        while (const auto next = Peek()) {
            if (auto value = One(*next)) {
                values.push_back(*std::move(value));
            }
        }
        return values;
    }

  private:
    struct Next {
        char type;
        const char* contents;
    };

    std::optional<Next> Peek() const
    {
        Next next{};
        const int result = sd_bus_message_peek_type(message_, &next.type, &next.contents);
        Check(result, "cannot read");
        return result > 0 ? std::optional(next) : std::nullopt;
    }

    template <typename Type>
    Type Basic(char type) const
    {
        Type value{};
        Check(sd_bus_message_read_basic(message_, type, &value), "cannot read a value");
        return value;
    }

    std::optional<Value> One(const Next& next) const
    {
        switch (next.type) {
            case SD_BUS_TYPE_BOOLEAN:
                return Value(Basic<int>(next.type) != 0);
            case SD_BUS_TYPE_BYTE:
                return Basic<std::uint8_t>(next.type);
            case SD_BUS_TYPE_INT16:
                return Basic<std::int16_t>(next.type);
            case SD_BUS_TYPE_UINT16:
                return Basic<std::uint16_t>(next.type);
            case SD_BUS_TYPE_INT32:
                return Basic<std::int32_t>(next.type);
            case SD_BUS_TYPE_UINT32:
                return Basic<std::uint32_t>(next.type);
            case SD_BUS_TYPE_INT64:
                return Basic<std::int64_t>(next.type);
            case SD_BUS_TYPE_UINT64:
                return Basic<std::uint64_t>(next.type);
            case SD_BUS_TYPE_DOUBLE:
                return Basic<double>(next.type);
            case SD_BUS_TYPE_STRING:
                return Basic<const char*>(next.type);
            case SD_BUS_TYPE_OBJECT_PATH:
                return ObjectPath{Basic<const char*>(next.type)};
            case SD_BUS_TYPE_UNIX_FD:
                return Duplicate(Basic<int>(next.type));
            case SD_BUS_TYPE_ARRAY:
                return ReadArray(next.contents);
            case SD_BUS_TYPE_STRUCT:
                return In(next, [this]() -> Value { return Structure{Rest()}; });
            case SD_BUS_TYPE_VARIANT:
                return ReadVariant(next);
            default:
                Check(sd_bus_message_skip(message_, nullptr), "cannot skip a value");
                return std::nullopt;
        }
    }

    template <typename Body>
    std::invoke_result_t<Body> In(const Next& next, const Body& body) const
    {
        Check(sd_bus_message_enter_container(message_, next.type, next.contents),
              "cannot read a container");
        auto result = body();
        Check(sd_bus_message_exit_container(message_), "cannot leave a container");
        return result;
    }

    Value ReadArray(const char* contents) const
    {
        const std::string element = contents;
        if (element == "y") {
            const void* data = nullptr;
            std::size_t size = 0;
            Check(sd_bus_message_read_array(message_, SD_BUS_TYPE_BYTE, &data, &size),
                  "cannot read bytes");
            const auto* const bytes = static_cast<const std::uint8_t*>(data);
            return size > 0 ? Bytes(bytes, bytes + size) : Bytes();
        }
        const Next next{SD_BUS_TYPE_ARRAY, contents};
        if (element.starts_with('{')) {
            return In(next, [&] { return Entries(element.substr(1, element.size() - 2)); });
        }
        return In(next, [&]() -> Value { return Array{element, Rest()}; });
    }

    /// A key is of a basic type: one character.
    Value Entries(const std::string& contents) const
    {
        Dictionary dictionary{contents.substr(0, 1), contents.substr(1), {}};
        while (const auto next = Peek()) {
            std::vector<Value> entry = In(*next, [this] { return Rest(); });
            if (entry.size() == 2) {
                dictionary.entries.emplace_back(std::move(entry[0]), std::move(entry[1]));
            }
        }
        return dictionary;
    }

    std::optional<Value> ReadVariant(const Next& next) const
    {
        std::vector<Value> inside = In(next, [this] { return Rest(); });
        if (inside.empty()) {
            return std::nullopt;
        }
        return InVariant(std::move(inside.front()));
    }

    /// A copy of a descriptor, as the message closes its own one.
    static Value Duplicate(int number)
    {
        const int own = fcntl(number, F_DUPFD_CLOEXEC, 0);
        if (own < 0) {
            throw std::system_error(errno, std::generic_category(), "cannot keep a descriptor");
        }
        return Handle{std::make_shared<const FileDescriptor>(own)};
    }

    sd_bus_message* message_;
};

}  // namespace

void Append(sd_bus_message* message, const Arguments& values)
{
    const Writer writer(message);
    for (const Value& value : values) {
        writer.Write(value);
    }
}

Arguments Read(sd_bus_message* message)
{
    return Reader(message).Rest();
}

}  // namespace pelacon::service::linux_radios::dbus
