// A module that does not load without another one.
extern "C" int NeededPlace();

extern "C" int ModulePlace() {
  return NeededPlace();
}
