#ifndef ARWREN_OFE_OBJECT_FILE_H
#define ARWREN_OFE_OBJECT_FILE_H

// Placeholder until the object-file library lands: the factory recognises
// nothing yet.
class FHM_FILE;

namespace OFE {

class OBJECT_FILE;
enum OF_ERROR_CODE { OF_NO_ERROR = 0 };
typedef void (*OF_ERROR_CALLBACK)(OBJECT_FILE*, OF_ERROR_CODE, const char*);

class OBJECT_FILE {
public:
    virtual ~OBJECT_FILE() {}
    static OBJECT_FILE* new_OBJECT_FILE(FHM_FILE* file, unsigned long size, const char* name,
                                        OF_ERROR_CALLBACK callback);
};

}  // namespace OFE

#endif
