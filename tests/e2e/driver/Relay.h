/* What the test driver and its clients say to each other, through \\.\KelvarinTest. In C and C++, for 32 bits. */
#pragma once

/* Codes of 32-bit clients; the buffers of all of them are copied by the system. */
#define RELAY_CODE(n) (0x80002000u | ((n) << 2))
#define RELAY_ADD RELAY_CODE(0x801u)  /* RelayDevice: a device appears on the bus */
#define RELAY_TAKE RELAY_CODE(0x802u) /* out: RelayRequest, or nothing when none waits */
#define RELAY_GIVE RELAY_CODE(0x803u) /* RelayAnswer */
#define RELAY_ASK RELAY_CODE(0x804u)  /* a request to the test itself, about no device: NodeQuestion and NodeAnswer */

#define RELAY_NO_DEVICE 0xFFFFFFFFu
#define RELAY_DATA 4096

typedef struct RelayDevice
{
    wchar_t DeviceId[128]; /* "USB\VID_0000&PID_0000" */
    wchar_t Instance[64];
    wchar_t DosName[16];    /* "Q:", or nothing */
    unsigned char Guid[16]; /* of its interface; zero for none */
} RelayDevice;

typedef struct RelayRequest
{
    unsigned long Id;
    unsigned long Device; /* in the order of RELAY_ADD, from 0 */
    unsigned long Code;
    unsigned long InSize;
    unsigned long OutSize;
    unsigned char In[RELAY_DATA];
} RelayRequest;

typedef struct RelayAnswer
{
    unsigned long Id;
    unsigned long Error; /* a Win32 error */
    unsigned long OutSize;
    unsigned char Out[RELAY_DATA];
} RelayAnswer;

enum NodeFunction
{
    NODE_LOCATE,
    NODE_CHILD,
    NODE_SIBLING,
    NODE_PARENT,
    NODE_ID_SIZE,
    NODE_ID,
    NODE_PROPERTY
};

/* The nodes that the test tells of have numbers from here. */
#define NODE_FIRST 0x40000000u

typedef struct NodeQuestion
{
    unsigned long Function;
    unsigned long Node;
    unsigned long Property;
    unsigned long Room; /* bytes; 0: no buffer */
    wchar_t Id[200];    /* of the node to be located; nothing: the root */
} NodeQuestion;

typedef struct NodeAnswer
{
    unsigned long Result; /* CONFIGRET */
    unsigned long Value;  /* the node, or the size */
    unsigned long Type;
    unsigned char Data[1024];
} NodeAnswer;
