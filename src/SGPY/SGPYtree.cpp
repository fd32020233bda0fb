// The functions of "sgpy" over raw tree nodes of the legacy parser: a field node that the host
// lends for one call, its repeats and their sub-nodes.  Changing the shape of a tree may delete
// nodes, so every such change forgets the handles reached so far; the field objects walk down
// from the lent node again each time and never notice.
#include "LANpython.h"

#include "QVMuntypedMessageTree.h"
#include "SGPYinternal.h"

namespace {

using Tree = QVMuntypedMessageTree;

PyObject* One() { return PyLong_FromLong(1); }

// The handle of `node` after a change below the root that `handle` belongs to.
PyObject* afterChange(PyObject* module, void* root, Tree* node) {
  SGPYregistry& registry = SGPYregistryOf(module);
  registry.dropParts(root);
  if (node != root) registry.addPart(root, node, SGPYkind::Tree);
  return PyLong_FromVoidPtr(node);
}

PyObject* treeCountOfSubNode(PyObject* module, PyObject* arg) {
  auto* node = SGPYhandle<Tree>(module, arg);
  return node ? SGPYcount(node->countOfSubNode()) : nullptr;
}

PyObject* treeCountOfRepeat(PyObject* module, PyObject* arg) {
  auto* node = SGPYhandle<Tree>(module, arg);
  return node ? SGPYcount(node->countOfRepeat()) : nullptr;
}

// Repeat `repeat` of a field node; None where it has fewer, unless `grow`.
PyObject* treeRepeat(PyObject* module, PyObject* args) {
  PyObject* handle = nullptr;
  long repeat = 0;
  int grow = 0;
  if (!PyArg_ParseTuple(args, "Oli", &handle, &repeat, &grow)) return nullptr;
  auto* node = SGPYhandle<Tree>(module, handle);
  if (!node || !SGPYcountInRange(repeat)) return nullptr;
  if (!grow && static_cast<unsigned long>(repeat) >= node->countOfRepeat()) return Py_NewRef(Py_None);
  return LANguard([&] {
    void* root = SGPYregistryOf(module).rootObjectOf(node);
    if (grow) return afterChange(module, root, node->getRepeatedNode(static_cast<unsigned>(repeat)));
    return SGPYpart(module, node, *node->getRepeatedNode(static_cast<unsigned>(repeat)));
  });
}

// Sub-node `index`. Reading, a bare value is its own sub-node 0; growing, it moves into sub-node
// 0 first, so that it keeps its place beside the new sub-node, as on the current parser's road.
PyObject* treeSubNode(PyObject* module, PyObject* args) {
  PyObject* handle = nullptr;
  long index = 0;
  int grow = 0;
  if (!PyArg_ParseTuple(args, "Oli", &handle, &index, &grow)) return nullptr;
  auto* node = SGPYhandle<Tree>(module, handle);
  if (!node || !SGPYcountInRange(index)) return nullptr;
  const unsigned Index = static_cast<unsigned>(index);
  if (!grow) {
    if (Index < node->countOfSubNode()) return SGPYpart(module, node, *node->node(Index, 0));
    return Index == 0 && node->countOfSubNode() == 0 ? Py_NewRef(handle) : Py_NewRef(Py_None);
  }
  return LANguard([&] {
    void* root = SGPYregistryOf(module).rootObjectOf(node);
    if (node->countOfSubNode() == 0 && !node->isNull() && Index > 0) {
      const COLstring Bare = node->getValue();
      node->setNull();
      node->node(0, 0)->setStringValue(Bare);
    }
    return afterChange(module, root, node->countOfSubNode() == 0 && Index == 0 ? node : node->node(Index, 0));
  });
}

PyObject* treeGetValue(PyObject* module, PyObject* arg) {
  auto* node = SGPYhandle<Tree>(module, arg);
  return node ? LANstringToPython(COLstring(node->getFirstValue())) : nullptr;
}

PyObject* treeSetValue(PyObject* module, PyObject* args) {
  PyObject *handle = nullptr, *text = nullptr;
  if (!PyArg_ParseTuple(args, "OO", &handle, &text)) return nullptr;
  auto* node = SGPYhandle<Tree>(module, handle);
  COLstring Value;
  if (!node || !SGPYtext(text, Value)) return nullptr;
  return LANguard([&] {
    node->setFirstValue(Value);
    return One();
  });
}

PyObject* treeIsNull(PyObject* module, PyObject* arg) {
  auto* node = SGPYhandle<Tree>(module, arg);
  if (!node) return nullptr;
  const Tree* Leaf = node;
  while (Leaf->countOfSubNode() > 0) Leaf = Leaf->node(0, 0);
  return PyBool_FromLong(Leaf->isNull() || *Leaf->getValue() == '\0');
}

// The shape changes: sub-nodes and repeats past the new counts may be deleted.
template <class Change>
PyObject* reshape(PyObject* module, Tree* node, Change change) {
  return LANguard([&] {
    void* root = SGPYregistryOf(module).rootObjectOf(node);
    change();
    SGPYregistryOf(module).dropParts(root);
    return One();
  });
}

PyObject* treeSetCountOfSubNode(PyObject* module, PyObject* args) {
  PyObject* handle = nullptr;
  long count = 0;
  if (!PyArg_ParseTuple(args, "Ol", &handle, &count)) return nullptr;
  auto* node = SGPYhandle<Tree>(module, handle);
  if (!node || !SGPYcountInRange(count)) return nullptr;
  return reshape(module, node, [&] { node->setCountOfSubNode(static_cast<unsigned>(count)); });
}

PyObject* treeSetCountOfRepeat(PyObject* module, PyObject* args) {
  PyObject* handle = nullptr;
  long count = 0;
  if (!PyArg_ParseTuple(args, "Ol", &handle, &count)) return nullptr;
  auto* node = SGPYhandle<Tree>(module, handle);
  if (!node || !SGPYcountInRange(count)) return nullptr;
  return reshape(module, node, [&] { node->setCountOfRepeat(static_cast<unsigned>(count)); });
}

PyObject* treeClear(PyObject* module, PyObject* arg) {
  auto* node = SGPYhandle<Tree>(module, arg);
  if (!node) return nullptr;
  return reshape(module, node, [&] { node->clear(); });
}

}  // namespace

void SGPYaddTreeFunctions(std::vector<PyMethodDef>& table) {
  const PyMethodDef Functions[] = {
      {"QVMtreeCountOfSubNode", treeCountOfSubNode, METH_O, nullptr},
      {"QVMtreeCountOfRepeat", treeCountOfRepeat, METH_O, nullptr},
      {"QVMtreeRepeat", treeRepeat, METH_VARARGS, nullptr},
      {"QVMtreeSubNode", treeSubNode, METH_VARARGS, nullptr},
      {"QVMtreeGetValue", treeGetValue, METH_O, nullptr},
      {"QVMtreeSetValue", treeSetValue, METH_VARARGS, nullptr},
      {"QVMtreeIsNull", treeIsNull, METH_O, nullptr},
      {"QVMtreeSetCountOfSubNode", treeSetCountOfSubNode, METH_VARARGS, nullptr},
      {"QVMtreeSetCountOfRepeat", treeSetCountOfRepeat, METH_VARARGS, nullptr},
      {"QVMtreeClear", treeClear, METH_O, nullptr},
  };
  table.insert(table.end(), std::begin(Functions), std::end(Functions));
}
