#include "tests/faults/Talk.h"

#include "client/Errors.h"
#include "varnox/IOException.h"
#include "varnox/socketutil/SocketException.h"

#include <unistd.h>

namespace varnox::tests {

Digest& Digest::addBytes(void const* bytes, std::size_t count)
{
    auto const* const first = static_cast<unsigned char const*>(bytes);
    for (std::size_t i = 0; i < count; ++i)
        m_hash = (m_hash ^ first[i]) * 1099511628211U;
    m_count += count;
    return *this;
}

std::string Digest::text() const
{
    return std::to_string(m_count) + " bytes, " + std::to_string(m_hash);
}

Talk::Talk(int descriptor) : m_engine(descriptor), m_socket(::dup(descriptor))
{
}

Talk::~Talk() = default;

void Talk::step(std::string const& what, std::function<void(Digest&)> const& action)
{
    int const number = ++m_numbers[what];
    std::string const name = number == 1 ? what : what + " (" + std::to_string(number) + ")";
    if (m_hasEnded) {
        take({name, StepEnd::Ended, "the session was over"});
        return;
    }
    try {
        Digest digest;
        action(digest);
        take({name, StepEnd::Answered, digest.text()});
    } catch (client::ProtocolViolation const& error) {
        m_hasEnded = true;
        take({name, StepEnd::Nonsense, error.what()});
    } catch (client::ConnectionLost const& error) {
        m_hasEnded = true;
        take({name, StepEnd::Ended, error.what()});
    } catch (client::LoadFailed const& error) {
        m_hasEnded = true;
        take({name, StepEnd::Ended, error.what()});
    } catch (client::Error const& error) {
        take({name, StepEnd::Refused, error.what()});
    } catch (socketutil::SocketException const& error) {
        m_hasEnded = true;
        take({name, StepEnd::Ended, error.what()});
    } catch (IOException const& error) {
        m_hasEnded = true;
        take({name, StepEnd::Ended, error.what()});
    } catch (std::exception const& error) {
        m_hasEnded = true;
        take({name, StepEnd::Nonsense, error.what()});
    }
}

namespace {

void add(Digest& digest, client::ZoneVariable const& variable)
{
    digest.add(variable.type).add(variable.location).add(variable.isPassive);
    digest.add(variable.isAbsent).add(variable.shareZone).add(variable.hasQueries);
    digest.add(variable.onDemand.load).add(variable.onDemand.unload);
    digest.add(variable.onDemand.cleanUp);
    if (variable.range)
        digest.add(variable.range->min).add(variable.range->max);
}

void add(Digest& digest, client::Zone const& zone)
{
    digest.add(zone.isAdded).add(zone.name).add(zone.type).add(zone.isHdq);
    for (std::int64_t const size : zone.size)
        digest.add(size);
    digest.add(zone.solutionTime).add(zone.strand).add(zone.parentZone);
    digest.add(zone.connectShareZone).add(zone.faceNeighborMode);
    for (client::Section const& section : zone.sections)
        digest.add(section.numCells).add(section.shape).add(section.order);
    for (client::ZoneVariable const& variable : zone.variables)
        add(digest, variable);
    digest.add(zone.nodeMap.load).add(zone.faceNeighbors.load).add(zone.faceNeighborsNameZones);
    digest.add(zone.hasConnectivityQueries).add(zone.hasOrderedQueries);
    digest.add(zone.hasIdentityQueries);
}

void add(Digest& digest, client::Text const& text)
{
    digest.add(text.coordSys).add(text.x).add(text.y).add(text.height).add(text.text);
#define FIELD(command, item, type, name)                                                           \
    if (text.name)                                                                                 \
        digest.add(*text.name);
#include "client/TextFields.def"
    digest.add(text.typeface ? text.typeface->family : "none").add(text.macroCommand.value_or(""));
}

void add(Digest& digest, client::Geometry const& geometry)
{
    digest.add(geometry.shape).add(geometry.sizes).add(geometry.numPoints);
    for (auto const& polyline : geometry.polylines)
        for (auto const& point : polyline)
            for (double const along : point)
                digest.add(along);
#define FIELD(command, item, type, name)                                                           \
    if (geometry.name)                                                                             \
        digest.add(*geometry.name);
#include "client/GeometryFields.def"
    digest.add(geometry.macroCommand.value_or(""));
}

void add(Digest& digest, client::DataSet const& dataSet)
{
    digest.add(dataSet.title);
    for (client::Variable const& variable : dataSet.variables)
        digest.add(variable.name);
    for (client::Zone const& zone : dataSet.zones)
        add(digest, zone);
    for (client::Text const& text : dataSet.texts)
        add(digest, text);
    for (client::Geometry const& geometry : dataSet.geometries)
        add(digest, geometry);
    for (client::LabelSet const& labels : dataSet.labelSets)
        digest.add(labels);
    for (client::AuxData const& aux : dataSet.auxData)
        digest.add(aux.owner).add(aux.number).add(aux.name).add(aux.value).add(aux.type);
}

}

void Talk::load(std::vector<std::string> const& paths)
{
    bool wasLoaded = false;
    step("load", [&](Digest& digest) {
        add(digest, m_engine.load(paths));
        wasLoaded = true;
    });
    if (!wasLoaded)
        return;
    // A loader may tell of what it left out.
    for (std::string const& message : m_engine.dataSet().messages) {
        m_steps.back().end = StepEnd::Refused;
        m_steps.back().text += " " + message;
    }
}

void Talk::close()
{
    step("close", [&](Digest&) { m_engine.close(); });
}

}
