// The ports are headers only, and a static library needs one source.
namespace merlode {}
