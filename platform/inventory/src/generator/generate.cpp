#include <kelp/inventory/generate.h>

#include <string>
#include <vector>

#include "files/progress_pace.h"
#include "generator/element_builder.h"
#include "generator/network_shape.h"
#include "names/name_index.h"
#include "rows/writing.h"

namespace kelp::inventory {

namespace {

/// The place of each line port in BuiltElement::linePorts, by where it leads.
enum LinePort : std::size_t { East, West, ToPrevious, ToNext, MeshOut, MeshIn };

std::int64_t portOf(const BuiltElement& element, std::size_t which) {
    return which < element.linePorts.size() ? element.linePorts[which] : 0;
}

/// Builds the links of a network. Gets the elements one after the other.
class LinkBuilder {
  public:
    LinkBuilder(Connection& connection, RowWriter& rows, std::uint64_t seed)
        : rows_(rows), names_(connection), numbers_(seed ^ 0x6C696E6Bu) {}

    void add(const ElementShape& shape, const BuiltElement& element) {
        if (shape.isHub()) {
            addMesh(element);
            first_ = element;
        } else {
            addLink(before_, East, element, West, *shape.ringCard);
        }
        // a ring of two elements has one link, and a single element none
        if (shape.placeInRing + 1 == shape.ringSize && shape.ringSize > 2)
            addLink(element, East, first_, West, *shape.ringCard);
        before_ = element;
    }

  private:
    void addMesh(const BuiltElement& hub) {
        addLink(hub, ToPrevious, previousHub_, ToNext, lineCard64());
        constexpr int kTries = 4;
        for (int i = 0; i < kTries && hubs_.size() > 1 && portOf(hub, MeshOut) != 0; ++i) {
            // the last hub is the previous one, which is linked already
            BuiltElement& other = hubs_[numbers_.below(hubs_.size() - 1)];
            if (portOf(other, 0) == 0)
                continue;
            addLink(hub, MeshOut, other, 0, lineCard64());
            other.linePorts.clear();
            break;
        }
        hubs_.push_back({hub.name, {portOf(hub, MeshIn)}});
        previousHub_ = hub;
    }

    void addLink(const BuiltElement& a, std::size_t aPort, const BuiltElement& z, std::size_t zPort,
                 const CardType& card) {
        References ends;
        ends.aEnd = portOf(a, aPort);
        ends.zEnd = portOf(z, zPort);
        if (ends.aEnd == 0 || ends.zEnd == 0)
            return;
        TopologicalLink link;
        link.name = a.name + "--" + z.name + "--" + std::to_string(++count_);
        link.userLabel = a.name + " to " + z.name;
        link.nativeEMSName = "L" + std::to_string(count_);
        link.rate = card.section;
        names_.nameTp(ends.aEnd, link.aEnd);
        names_.nameTp(ends.zEnd, link.zEnd);
        rows_.insert(link, ends);
    }

    RowWriter& rows_;
    NameIndex names_;
    SeededNumbers numbers_;
    std::uint64_t count_ = 0;
    BuiltElement first_;  ///< first element of the ring
    BuiltElement before_;
    BuiltElement previousHub_;
    std::vector<BuiltElement> hubs_;  ///< each with only the port that is free for the mesh
};

bool isEmpty(Connection& connection) {
    return connection.database()
               .execAndGet(
                   "SELECT NOT EXISTS (SELECT 1 FROM managed_element) AND NOT EXISTS "
                   "(SELECT 1 FROM topological_link) AND NOT EXISTS (SELECT 1 FROM subnetwork)")
               .getInt() != 0;
}

}  // namespace

Statistics generateNetwork(const std::filesystem::path& database, const NetworkPlan& plan,
                           const Progress& progress) {
    translated(database, [&] {
        Connection connection = openForWriting(database);
        BulkWriting writing(
            connection, database,
            plan.replace ? BulkWriting::Clear::Everything : BulkWriting::Clear::Nothing);
        if (!isEmpty(connection))
            throw InventoryFailure("inventory " + database.string() + " is not empty");
        RowWriter rows(connection);
        NetworkShape shape(plan);
        PortShares shares(plan);
        ElementBuilder elements(rows, plan);
        LinkBuilder links(connection, rows, plan.seed);
        ProgressPace pace(progress);
        for (ElementShape element; shape.next(element);) {
            links.add(element, elements.build(element, shares.of(element)));
            pace.step([&] { return element.number; }, plan.elements);
        }
        writing.commit();
        pace.end(plan.elements);
    });
    return Inventory(database).statistics();
}

}  // namespace kelp::inventory
