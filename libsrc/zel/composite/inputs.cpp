#include "composite/inputs.hpp"

#include "ground/zel_door.hpp"

namespace zel {

Inputs::Inputs(const char* const* names, int count, const char* noMemory, const NameKeeper* kept)
    : names_(names),
      count_(count),
      kept_(kept),
      inputs_(allocate<Input>(static_cast<std::size_t>(count)))
{
    if (!inputs_) fail("%s", noMemory);
}

int Inputs::components(int i) const
{
    return directory(i).isComposite ? directory(i).prefix.numComponents : 1;
}

bool Inputs::readDirectory(int i)
{
    Input& input = inputs_.get()[i];
    if (!input.isKnown) input.isKnown = zel::readDirectory(name(i), input.directory);
    return input.isKnown;
}

void Inputs::setDirectory(int i, const Directory& directory)
{
    inputs_.get()[i] = {directory, true};
}

}  // namespace zel
