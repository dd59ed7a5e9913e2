// A static library needs one source.
namespace merlode {}
