#include "tests/system/TextReader.h"

#include "tests/support/WaitUntil.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>

#include <algorithm>
#include <stdexcept>

namespace system_tests {

using namespace std::chrono_literals;

namespace {

// Numbers of the accessibility protocol.
constexpr uint kRoleLabel = 29;
constexpr uint kRoleList = 31;
constexpr uint kRoleListItem = 32;
constexpr uint kRoleButton = 43;
constexpr uint kRoleSlider = 51;
constexpr int kStateSelected = 23;
constexpr int kStateShowing = 25;

constexpr uint kOnScreen = 0;

constexpr const char* kAccessible = "org.a11y.atspi.Accessible";
constexpr const char* kRoot = "/org/a11y/atspi/accessible/root";
constexpr const char* kConnection = "talvio-texts";
constexpr int kAnswerLimit = 20000; // milliseconds

// The bus wants an application object.
void NeedApplication() {
    static int argc = 1;
    static char name[] = "test";
    static char* argv[] = {name, nullptr};
    if (QCoreApplication::instance() == nullptr) static const QCoreApplication application(argc, argv);
}

QString TextBusKnownTo(const QString& sessionBus) {
    constexpr const char* kSession = "talvio-session";
    const QDBusMessage reply = QDBusConnection::connectToBus(sessionBus, kSession)
                                   .call(QDBusMessage::createMethodCall("org.a11y.Bus", "/org/a11y/bus",
                                                                        "org.a11y.Bus", "GetAddress"),
                                         QDBus::Block, kAnswerLimit);
    QDBusConnection::disconnectFromBus(kSession);
    return reply.arguments().value(0).toString();
}

} // namespace

// The program's objects, by their paths.
struct TextReader::Bus {
    QDBusConnection connection;
    QString program; // its name on the bus

    explicit Bus(const QString& address) : connection(QDBusConnection::connectToBus(address, kConnection)) {
        if (!connection.isConnected())
            throw std::runtime_error("no bus for texts at " + address.toStdString());
    }
    ~Bus() { QDBusConnection::disconnectFromBus(kConnection); }

    // The answer's arguments; none when the object is gone.
    QVariantList Call(const QString& path, const QString& interface, const QString& method,
                      const QVariantList& arguments = {}) const {
        QDBusMessage message = QDBusMessage::createMethodCall(program, path, interface, method);
        message.setArguments(arguments);
        const QDBusMessage reply = connection.call(message, QDBus::Block, kAnswerLimit);
        return reply.type() == QDBusMessage::ReplyMessage ? reply.arguments() : QVariantList();
    }

    std::string Name(const std::string& path) const { return Property(path, "Name"); }
    std::string Description(const std::string& path) const { return Property(path, "Description"); }

    std::string Property(const std::string& path, const char* property) const {
        const QVariantList answer = Call(QString::fromStdString(path), "org.freedesktop.DBus.Properties",
                                         "Get", {kAccessible, property});
        return answer.isEmpty() ? std::string()
                                : answer.first().value<QDBusVariant>().variant().toString().toStdString();
    }

    uint Role(const std::string& path) const {
        return Call(QString::fromStdString(path), kAccessible, "GetRole").value(0).toUInt();
    }

    bool HasState(const std::string& path, int state) const {
        const QVariantList answer = Call(QString::fromStdString(path), kAccessible, "GetState");
        if (answer.isEmpty()) return false;
        const auto words = qdbus_cast<QList<uint>>(answer.first());
        return state / 32 < words.size() && (words[state / 32] >> (state % 32) & 1U) != 0;
    }

    std::vector<std::string> Children(const std::string& path) const {
        const QVariantList answer = Call(QString::fromStdString(path), kAccessible, "GetChildren");
        std::vector<std::string> children;
        if (answer.isEmpty()) return children;
        const auto list = answer.first().value<QDBusArgument>();
        list.beginArray();
        while (!list.atEnd()) {
            QString owner;
            QDBusObjectPath child;
            list.beginStructure();
            list >> owner >> child;
            list.endStructure();
            children.push_back(child.path().toStdString());
        }
        list.endArray();
        return children;
    }

    Area Place(const std::string& path) const {
        const QVariantList answer =
            Call(QString::fromStdString(path), "org.a11y.atspi.Component", "GetExtents", {kOnScreen});
        Area area;
        if (answer.isEmpty()) return area;
        const auto extents = answer.first().value<QDBusArgument>();
        extents.beginStructure();
        extents >> area.x >> area.y >> area.width >> area.height;
        extents.endStructure();
        return area;
    }

    // Windows of the program that carry this title.
    std::vector<std::string> Windows(const std::string& title) const {
        std::vector<std::string> windows = Children(kRoot);
        std::erase_if(windows, [&](const std::string& window) { return Name(window) != title; });
        return windows;
    }

    // Looks at everything below an object, parents first, but not at the entries of lists.
    template <typename Look>
    void Walk(const std::string& path, const Look& look) const {
        const uint role = Role(path);
        look(path, role);
        if (role == kRoleList) return;
        for (const std::string& child : Children(path))
            Walk(child, look);
    }
};

TextReader::TextReader(const std::string& sessionBus, pid_t program) {
    NeedApplication();
    m_bus = std::make_unique<Bus>(TextBusKnownTo(QString::fromStdString(sessionBus)));
    const QDBusConnection& connection = m_bus->connection;
    const auto findProgram = [&] {
        for (const QString& name : connection.interface()->registeredServiceNames().value()) {
            if (!name.startsWith(':') || connection.interface()->servicePid(name).value() != uint(program))
                continue;
            m_bus->program = name;
            return !m_bus->Windows("Talvio").empty();
        }
        return false;
    };
    if (!support::WaitUntil(findProgram, 20s, 10ms)) throw std::runtime_error("the program tells no texts");

    m_bus->Walk(m_bus->Windows("Talvio").front(), [this](const std::string& path, uint role) {
        if (role == kRoleList) m_playlist = path;
        if (role == kRoleSlider && m_bus->Description(path) == "Volume") m_volume = path;
        // The status line's two texts are alone in their strip.
        const std::vector<std::string> children = m_bus->Children(path);
        if (children.size() != 2 || m_bus->Role(children[0]) != kRoleLabel ||
            m_bus->Role(children[1]) != kRoleLabel)
            return;
        m_stateLabel = children[0];
        m_progressLabel = children[1];
    });
    if (m_playlist.empty() || m_stateLabel.empty())
        throw std::runtime_error("the main window tells no texts");
}

TextReader::~TextReader() = default;

std::string TextReader::State() {
    return m_bus->Name(m_stateLabel);
}

std::string TextReader::Progress() {
    return m_bus->Name(m_progressLabel);
}

std::vector<TextReader::Entry> TextReader::Playlist() {
    std::vector<Entry> entries;
    for (const std::string& item : m_bus->Children(m_playlist)) {
        if (m_bus->Role(item) != kRoleListItem) continue;
        entries.push_back({m_bus->Name(item), m_bus->HasState(item, kStateSelected), m_bus->Place(item)});
    }
    return entries;
}

Area TextReader::PlaceOfButton(const std::string& name) {
    Area place;
    m_bus->Walk(m_bus->Windows("Talvio").front(), [&](const std::string& path, uint role) {
        if (role == kRoleButton && m_bus->Name(path) == name && m_bus->HasState(path, kStateShowing))
            place = m_bus->Place(path);
    });
    return place;
}

int TextReader::Volume() {
    return std::stoi(m_bus->Name(m_volume));
}

std::vector<std::string> TextReader::TextsIn(const std::string& title) {
    std::vector<std::string> texts;
    for (const std::string& window : m_bus->Windows(title)) {
        m_bus->Walk(window, [&](const std::string& path, uint role) {
            if (role != kRoleLabel || !m_bus->HasState(path, kStateShowing)) return;
            if (const std::string text = m_bus->Name(path); !text.empty()) texts.push_back(text);
        });
    }
    return texts;
}

} // namespace system_tests
