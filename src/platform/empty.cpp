namespace merlode {}
