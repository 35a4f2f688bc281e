#pragma once
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "foundation/Object.h"
#include "foundation/Value.h"
#include "store/YapDatabaseOptions.h"
#include "store/YapDatabaseRelationshipNode.h"

namespace qsml {

using Edge = YapDatabaseRelationshipEdge;
using EdgeReason = YapDatabaseRelationshipNode::Reason;

inline const char* nameOf(EdgeReason reason) {
    if (reason == EdgeReason::edgeDeleted) return "edge";
    return reason == EdgeReason::sourceNodeDeleted ? "source" : "destination";
}

/// A record with edges. Told of a lost edge, it notes that and forgets what led there.
class GraphNode final : public Object, public YapDatabaseRelationshipNode {
public:
    explicit GraphNode(std::vector<Edge> list) : edges(std::move(list)) {}

    const ArchiveClass& archiveClass() const override { return rootClass(); }
    void encodeWithCoder(KeyedArchiver&) const override {}
    bool initWithCoder(KeyedUnarchiver&) override { return false; }

    std::vector<Edge> yapDatabaseRelationshipEdges() const override { return edges; }
    std::shared_ptr<Object> yapDatabaseRelationshipEdgeDeleted(const Edge& edge,
                                                               Reason reason) const override {
        told().push_back(label + "|" + edge.name.str() + ">" + edge.destinationKey.str() + "|" +
                         nameOf(reason) + "|" + std::to_string(edges.size()));
        if (answer) return answer(*this, edge, reason);
        if (reason != Reason::destinationNodeDeleted) return nullptr;
        auto changed = std::make_shared<GraphNode>(*this);
        std::erase_if(changed->edges, [&](const Edge& mine) {
            return mine.destinationKey == edge.destinationKey &&
                   mine.destinationCollection == edge.destinationCollection;
        });
        return changed->edges.size() == edges.size() ? nullptr : changed;
    }

    /// What nodes were told: "who|edge>destination|why|number of edges then".
    static std::vector<std::string>& told() {
        static std::vector<std::string> lines;
        return lines;
    }

    using Answer = std::function<std::shared_ptr<GraphNode>(const GraphNode&, const Edge&, Reason)>;
    static inline Answer answer;  ///< in place of forgetting

    std::vector<Edge> edges;
    std::string label;  ///< who says it was told
};

/// Bytes of nodes and texts; a text that begins with "undecodable" cannot be read again.
class GraphBytes {
public:
    static YapDatabaseObjectCallbacks callbacks() {
        YapDatabaseObjectCallbacks made;
        made.serializer = [](std::string_view, std::string_view, const Value& value,
                             Error* error) -> std::span<const std::uint8_t> {
            static thread_local std::string bytes;
            bytes = bytesOf(value);
            const auto node = std::dynamic_pointer_cast<const GraphNode>(value.object());
            if (node && node->label == "refused")
                report(error, {"GraphBytes", 1, "This one is refused."});
            return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
        };
        made.deserializer = [](std::string_view, std::string_view,
                               std::span<const std::uint8_t> bytes) {
            return valueOf({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
        };
        return made;
    }

private:
    static constexpr std::uint32_t nil = UINT32_MAX;

    static void put(std::string& bytes, const String& text) {
        const auto size = text ? static_cast<std::uint32_t>(text.size()) : nil;
        bytes.append(reinterpret_cast<const char*>(&size), sizeof size).append(text.view());
    }
    static String take(std::string_view& bytes) {
        std::uint32_t size = 0;
        std::memcpy(&size, bytes.data(), sizeof size);
        bytes.remove_prefix(sizeof size);
        if (size == nil) return {};
        String text(bytes.substr(0, size));
        bytes.remove_prefix(size);
        return text;
    }
    static std::string bytesOf(const Value& value) {
        const auto node = std::dynamic_pointer_cast<const GraphNode>(value.object());
        if (!node) return "T" + value.string().str();
        std::string bytes = node->label == "undecodable" ? "Tundecodable" : "N";
        put(bytes, node->label);
        for (const Edge& edge : node->edges) {
            put(bytes, edge.name);
            put(bytes, edge.destinationCollection);
            put(bytes, edge.destinationKey);
            put(bytes, std::to_string(edge.nodeDeleteRules));
        }
        return bytes;
    }
    static Value valueOf(std::string_view bytes) {
        if (bytes.substr(0, 12) == "Tundecodable") return {};
        if (bytes.substr(0, 1) == "T") return Value(bytes.substr(1));
        bytes.remove_prefix(1);
        auto node = std::make_shared<GraphNode>(std::vector<Edge>());
        node->label = take(bytes).str();
        while (!bytes.empty()) {
            Edge edge;
            edge.name = take(bytes);
            edge.destinationCollection = take(bytes);
            edge.destinationKey = take(bytes);
            edge.nodeDeleteRules = static_cast<std::uint32_t>(std::stoul(take(bytes).str()));
            node->edges.push_back(std::move(edge));
        }
        return Value(std::shared_ptr<const Object>(std::move(node)));
    }
};

}  // namespace qsml
