-- One schema for a branch database and for the headquarters database.
-- Text compares without regard to case (COLLATE NOCASE), as the retail system's server does.
-- Dates are 'yyyy-mm-dd' text, date-times 'yyyy-mm-dd hh:mm:ss'; amounts and points are REAL.
--
-- This is what a new database holds, at the schema version of the last step in SchemaSteps.cpp.
-- A change here is also a new step there, which brings an older database to the same tables,
-- columns and indexes (SchemaSteps.h says how); a new column goes at the end of its table.

-- Member cards: one row per card.
CREATE TABLE T_Pos_VipRecord (
    FFlowId        INTEGER PRIMARY KEY AUTOINCREMENT,
    FCardId        TEXT COLLATE NOCASE NOT NULL UNIQUE,
    FCardFlowno    TEXT COLLATE NOCASE,
    FVipName       TEXT COLLATE NOCASE,
    mobile         TEXT COLLATE NOCASE,
    FCardType      TEXT COLLATE NOCASE,
    FCardStatus    TEXT COLLATE NOCASE NOT NULL DEFAULT '9',
    FVipStartDate  TEXT,
    FVipEndDate    TEXT,
    FAccNum        REAL NOT NULL DEFAULT 0,
    FDecNum        REAL NOT NULL DEFAULT 0,
    FResidualAmt   TEXT COLLATE BINARY DEFAULT '0',  -- encoded balance: compared exactly
    FPlusAmt       REAL DEFAULT 0,                   -- issue amount
    FSavingFlag    INTEGER NOT NULL DEFAULT 0,
    FAccFlag       INTEGER NOT NULL DEFAULT 1,
    FDeleted       INTEGER NOT NULL DEFAULT 0,
    password       TEXT COLLATE BINARY DEFAULT '',
    FBranchno      TEXT COLLATE NOCASE,
    FOperDate      TEXT,
    FModifyDate    TEXT,
    FUserName      TEXT COLLATE NOCASE,
    FVipTax        REAL DEFAULT 0,
    limit_use      REAL DEFAULT 0,
    salesman       TEXT COLLATE NOCASE,
    FVipSex        TEXT COLLATE NOCASE,
    birthday       TEXT,
    marriage       TEXT COLLATE NOCASE,
    FVipTel        TEXT COLLATE NOCASE,
    company        TEXT COLLATE NOCASE,
    FVipEmail      TEXT COLLATE NOCASE,
    FSocialId      TEXT COLLATE NOCASE,
    FVipAdd        TEXT COLLATE NOCASE,
    FVipZip        TEXT COLLATE NOCASE,
    FSalaryLevel   TEXT COLLATE NOCASE,
    degree         TEXT COLLATE NOCASE,
    favor          TEXT COLLATE NOCASE,
    memo           TEXT COLLATE NOCASE,
    nation         TEXT COLLATE NOCASE,
    FSeal          TEXT COLLATE BINARY,    -- keyed hash of FCardId, FResidualAmt, FAccNum, FDecNum and the ledger head
    FLedgerSeq     INTEGER NOT NULL DEFAULT 0,            -- the head of the card's movement ledger:
    FLedgerHash    TEXT COLLATE BINARY NOT NULL DEFAULT '' -- its last sequence number and link
);
CREATE INDEX IX_VipRecord_Mobile ON T_Pos_VipRecord (mobile);
CREATE INDEX IX_VipRecord_Flowno ON T_Pos_VipRecord (FCardFlowno);
CREATE INDEX IX_VipRecord_Type ON T_Pos_VipRecord (FCardType);
CREATE INDEX IX_VipRecord_Status ON T_Pos_VipRecord (FCardStatus);

-- Member records edited or issued and waiting for approval: the pending values of a card.
CREATE TABLE T_Pos_VipRecordCheck (
    FCheckId       INTEGER PRIMARY KEY AUTOINCREMENT,
    FFlowId        INTEGER,
    FCardId        TEXT COLLATE NOCASE NOT NULL,
    FCardFlowno    TEXT COLLATE NOCASE,
    FVipName       TEXT COLLATE NOCASE,
    mobile         TEXT COLLATE NOCASE,
    FCardType      TEXT COLLATE NOCASE,
    FCardStatus    TEXT COLLATE NOCASE,
    FVipStartDate  TEXT,
    FVipEndDate    TEXT,
    FBranchno      TEXT COLLATE NOCASE,
    FOperDate      TEXT,
    FModifyDate    TEXT,
    FUserName      TEXT COLLATE NOCASE,
    FVipTax        REAL DEFAULT 0,
    limit_use      REAL DEFAULT 0,
    salesman       TEXT COLLATE NOCASE,
    FVipSex        TEXT COLLATE NOCASE,
    birthday       TEXT,
    marriage       TEXT COLLATE NOCASE,
    FVipTel        TEXT COLLATE NOCASE,
    company        TEXT COLLATE NOCASE,
    FVipEmail      TEXT COLLATE NOCASE,
    FSocialId      TEXT COLLATE NOCASE,
    FVipAdd        TEXT COLLATE NOCASE,
    FVipZip        TEXT COLLATE NOCASE,
    FSalaryLevel   TEXT COLLATE NOCASE,
    degree         TEXT COLLATE NOCASE,
    favor          TEXT COLLATE NOCASE,
    memo           TEXT COLLATE NOCASE,
    nation         TEXT COLLATE NOCASE
);
CREATE INDEX IX_VipRecordCheck_Card ON T_Pos_VipRecordCheck (FCardId);
CREATE INDEX IX_VipRecordCheck_Modify ON T_Pos_VipRecordCheck (FModifyDate);

-- Card types.
CREATE TABLE T_Pos_VipType (
    FTypeId      TEXT COLLATE NOCASE PRIMARY KEY,
    type_name    TEXT COLLATE NOCASE NOT NULL,
    FSavingFlag  INTEGER NOT NULL DEFAULT 0,
    FAccFlag     INTEGER NOT NULL DEFAULT 1
);

-- Points to stored value: per card type, steps of FAccNum points worth saving_amt, or FZhRate
-- percent of the points when the rate is not 0.
CREATE TABLE T_Pos_VipPointToAmt (
    FID          INTEGER PRIMARY KEY AUTOINCREMENT,
    FTypeId      TEXT COLLATE NOCASE NOT NULL,
    FAccNum      REAL NOT NULL,
    saving_amt   REAL NOT NULL DEFAULT 0,
    FZhRate      REAL NOT NULL DEFAULT 0
);
CREATE INDEX IX_VipPointToAmt_Type ON T_Pos_VipPointToAmt (FTypeId, FAccNum);

-- Company settings by category and key.
CREATE TABLE t_SystemProfile (
    FCategory  TEXT COLLATE NOCASE NOT NULL,
    FKey       TEXT COLLATE NOCASE NOT NULL,
    FValue     TEXT COLLATE NOCASE,
    PRIMARY KEY (FCategory, FKey)
);

-- Points movements: 1 deduction, 2 gift exchange, 3 reward, 4 points to stored value, 5 clearing.
CREATE TABLE T_Pos_VipGiftList (
    FID          INTEGER PRIMARY KEY AUTOINCREMENT,
    Fbranchid    INTEGER,
    FBranchno    TEXT COLLATE NOCASE,
    FCardId      TEXT COLLATE NOCASE NOT NULL,
    flag         TEXT COLLATE NOCASE NOT NULL,
    Fitemid      INTEGER DEFAULT 0,
    FItemNum     REAL DEFAULT 0,
    FVipNum      REAL DEFAULT 0,
    FVipPlusAmt  REAL DEFAULT 0,
    fuserid      INTEGER,
    FOperDate    TEXT,
    FAuxPropID   INTEGER DEFAULT 0,
    memo         TEXT COLLATE NOCASE,
    FComFlag     INTEGER DEFAULT 0,
    FSeq         INTEGER,            -- the card's movement ledger: the row's sequence number
    FChain       TEXT COLLATE BINARY -- and its link (CardLedger.h)
);
CREATE INDEX IX_VipGiftList_Card ON T_Pos_VipGiftList (FCardId);

-- Points totals of a card per branch.
CREATE TABLE T_Pos_VipConsume (
    FID                INTEGER PRIMARY KEY AUTOINCREMENT,
    FCardId            TEXT COLLATE NOCASE NOT NULL,
    Fbranchid          INTEGER NOT NULL,
    FBranchno          TEXT COLLATE NOCASE,
    FVipCurAccNum      REAL DEFAULT 0,
    FVipAccNum         REAL DEFAULT 0,
    FVipMinusTotalNum  REAL DEFAULT 0,
    FComFlag           TEXT COLLATE NOCASE DEFAULT '0'
);
CREATE INDEX IX_VipConsume_CardBranch ON T_Pos_VipConsume (FCardId, Fbranchid);

-- One row per clearing commit.
CREATE TABLE T_Pos_VipPointClear (
    FID         INTEGER PRIMARY KEY AUTOINCREMENT,
    FAccDate    TEXT,
    hostip      TEXT COLLATE NOCASE,
    hostname    TEXT COLLATE NOCASE,
    FOperDate   TEXT,
    fuserid     TEXT COLLATE NOCASE,
    FClearDesc  TEXT COLLATE NOCASE,
    memo        TEXT COLLATE NOCASE
);

-- Gift catalogue: which goods can be exchanged, for which card type ('All' for every type),
-- from which warehouse, in which period.
CREATE TABLE T_Pos_VipGift (
    FItemId     INTEGER NOT NULL,
    FCardType   TEXT COLLATE NOCASE NOT NULL DEFAULT 'All',
    FBranchID   INTEGER NOT NULL,
    FBranchNo   TEXT COLLATE NOCASE,
    FItemNum    REAL NOT NULL DEFAULT 1,
    FVipNum     REAL NOT NULL DEFAULT 0,
    FBeginDate  TEXT,
    FEndDate    TEXT,
    PRIMARY KEY (FItemId, FCardType, FBranchID)
);
CREATE INDEX IX_VipGift_Dates ON T_Pos_VipGift (FEndDate, FBeginDate);

-- Money movements of stored-value cards. FPlusAmt of the row whose other1 is '初始金额' holds
-- the encoded issue amount, so the column has no type: a value is stored as it is written.
CREATE TABLE T_Pos_AddMoneyList (
    FID           INTEGER PRIMARY KEY AUTOINCREMENT,
    FCardId       TEXT COLLATE NOCASE NOT NULL,
    FPlusAmt,
    fuserid       INTEGER,
    FOperDate     TEXT,
    FOldAmt       REAL DEFAULT 0,
    Fbranchid     INTEGER,
    FBranchno     TEXT COLLATE NOCASE,
    other1        TEXT COLLATE NOCASE,
    FPlusRealAmt  REAL DEFAULT 0,
    FResidualAmt  TEXT COLLATE NOCASE,
    FBalanceStyle INTEGER,
    FComFlag      TEXT COLLATE NOCASE DEFAULT '1',
    FSeq          INTEGER,            -- the card's movement ledger: the row's sequence number
    FChain        TEXT COLLATE BINARY -- and its link (CardLedger.h)
);
CREATE INDEX IX_AddMoneyList_Card ON T_Pos_AddMoneyList (FCardId, other1);

-- Operation log rows replayed from the branches.
CREATE TABLE t_Log (
    FID            INTEGER PRIMARY KEY AUTOINCREMENT,
    FDate          TEXT,
    FUserID        INTEGER,
    FFunctionID    TEXT COLLATE NOCASE,
    FStatement     INTEGER,
    FDescription   TEXT COLLATE NOCASE,
    FMachineName   TEXT COLLATE NOCASE,
    FIPAddress     TEXT COLLATE NOCASE
);

-- Warehouses; a branch's warehouses have numbers that start with the branch number.
CREATE TABLE t_stock (
    FItemID  INTEGER PRIMARY KEY,
    FNumber  TEXT COLLATE NOCASE NOT NULL UNIQUE,
    FName    TEXT COLLATE NOCASE NOT NULL
);

-- Goods.
CREATE TABLE t_Item (
    FItemID   INTEGER PRIMARY KEY,
    FNumber   TEXT COLLATE NOCASE NOT NULL UNIQUE,
    FBarCode  TEXT COLLATE NOCASE,
    FName     TEXT COLLATE NOCASE NOT NULL,
    FUnit     TEXT COLLATE NOCASE,
    FIsAuxi   INTEGER NOT NULL DEFAULT 0,   -- managed by auxiliary attribute
    Fdetail   INTEGER NOT NULL DEFAULT 1,
    FDeleted  INTEGER NOT NULL DEFAULT 0
);
CREATE INDEX IX_Item_BarCode ON t_Item (FBarCode);

-- Auxiliary attributes (size, colour, …) of goods managed by them.
CREATE TABLE t_AuxProp (
    FAuxPropID    INTEGER PRIMARY KEY,
    FItemID       INTEGER NOT NULL REFERENCES t_Item (FItemID),
    FAuxPropNum   TEXT COLLATE NOCASE NOT NULL,
    FAuxPropName  TEXT COLLATE NOCASE NOT NULL
);
CREATE INDEX IX_AuxProp_Item ON t_AuxProp (FItemID);

-- Payment methods.
CREATE TABLE t_PayMethod (
    FItemID   INTEGER PRIMARY KEY,
    FNumber   TEXT COLLATE NOCASE NOT NULL UNIQUE,
    FName     TEXT COLLATE NOCASE NOT NULL,
    FDeleted  INTEGER NOT NULL DEFAULT 0
);

-- The network task lock: running card operations of every operator session on this database.
CREATE TABLE t_NetTask (
    FTaskHandle  INTEGER PRIMARY KEY AUTOINCREMENT,
    FTaskNo      INTEGER NOT NULL,
    FCode        TEXT COLLATE NOCASE,
    FItem        TEXT COLLATE NOCASE,
    FMachine     TEXT COLLATE NOCASE,
    FUserID      INTEGER,
    FSession     TEXT COLLATE BINARY NOT NULL,  -- host/process/start time of the owning session
    FProcessId   INTEGER,
    FStartTime   TEXT,
    FHeartbeat   TEXT
);
CREATE INDEX IX_NetTask_Task ON t_NetTask (FTaskNo, FItem);

-- The host's local operation log.
CREATE TABLE t_OperLog (
    FID            INTEGER PRIMARY KEY AUTOINCREMENT,
    FDate          TEXT,
    FUserID        INTEGER,
    FFunctionID    TEXT COLLATE NOCASE,
    FType          INTEGER,
    FDescription   TEXT COLLATE NOCASE,
    FMachineName   TEXT COLLATE NOCASE,
    FIPAddress     TEXT COLLATE NOCASE,
    FSession       TEXT COLLATE NOCASE,
    FCardId        TEXT COLLATE NOCASE,   -- the card a card operation concerns
    FBranchNo      TEXT COLLATE NOCASE
);

-- A branch linked to headquarters: the changes waiting to be replayed there, oldest first. A row
-- is written in the same transaction as the local change and deleted once headquarters holds the
-- replay. A change headquarters refused several times for a reason other than not being reached
-- is held ('held'): kept with its error for an administrator to retry or discard, while the
-- changes after it go on.
CREATE TABLE t_HqOutbox (
    FSeq        INTEGER PRIMARY KEY AUTOINCREMENT,
    FOrigin     TEXT COLLATE BINARY NOT NULL, -- this database, as headquarters knows it
    FBranchNo   TEXT COLLATE NOCASE,
    FDate       TEXT,
    FOperation  INTEGER,                      -- 0 积分冲减 … 6 换卡 (platform/ReplayOperation)
    FBatch      TEXT NOT NULL,
    FAttempts   INTEGER NOT NULL DEFAULT 0,   -- refusals by headquarters (not reaching it is none)
    FLastError  TEXT NOT NULL DEFAULT '',
    FState      TEXT COLLATE NOCASE NOT NULL DEFAULT 'waiting', -- 'waiting' or 'held'
    FHeldDate   TEXT                          -- when it was held
);

-- The values a queued change was computed from, which must still stand at headquarters when it
-- is replayed: the query that read each, its field and what it gave (FValueType: null, bool,
-- int, real or text; FValue the value as text).
CREATE TABLE t_HqOutboxCheck (
    FSeq        INTEGER NOT NULL,
    FNo         INTEGER NOT NULL,
    FSql        TEXT NOT NULL,
    FField      TEXT NOT NULL,
    FValueType  TEXT NOT NULL,
    FValue      TEXT,
    PRIMARY KEY (FSeq, FNo)
);

-- The cards a queued change touches.
CREATE TABLE t_HqOutboxCard (
    FSeq        INTEGER NOT NULL,
    FCardId     TEXT COLLATE NOCASE NOT NULL,
    PRIMARY KEY (FSeq, FCardId)
);

-- Headquarters: every replay applied, written in the replay's own transaction, so that a replay
-- sent again (the branch did not hear back) is not applied twice.
CREATE TABLE t_HqReplay (
    FOrigin    TEXT COLLATE BINARY NOT NULL,
    FSeq       INTEGER NOT NULL,
    FBranchNo  TEXT COLLATE NOCASE,
    FDigest    TEXT COLLATE BINARY, -- fingerprint of the replayed text
    FDate      TEXT,
    PRIMARY KEY (FOrigin, FSeq)
);

-- Where a card's movement ledger starts when it does not start with the card: an older database
-- brought to the ledger, or a card an administrator accepted as it stood. FSeq is the last
-- movement before the start; the values are the card's then; FHash links them to that movement.
CREATE TABLE t_CardLedgerStart (
    FCardId       TEXT COLLATE NOCASE PRIMARY KEY,
    FSeq          INTEGER NOT NULL,
    FResidualAmt  TEXT COLLATE BINARY,
    FAccNum       REAL NOT NULL DEFAULT 0,
    FDecNum       REAL NOT NULL DEFAULT 0,
    FDate         TEXT,
    FReason       TEXT COLLATE NOCASE,
    FHash         TEXT COLLATE BINARY NOT NULL
);

-- Headquarters: the head of each card's movement ledger at each branch, as the branch last sent it
-- with a replay. A branch whose card is behind what headquarters saw was put back from an older
-- copy of its database.
CREATE TABLE t_BranchLedgerHead (
    FBranchNo  TEXT COLLATE NOCASE NOT NULL,
    FCardId    TEXT COLLATE NOCASE NOT NULL,
    FSeq       INTEGER NOT NULL,
    FHash      TEXT COLLATE BINARY NOT NULL,
    FDate      TEXT,
    PRIMARY KEY (FBranchNo, FCardId)
);

-- The operation log of one card, newest first (the card history).
CREATE INDEX IX_OperLog_Card ON t_OperLog (FCardId, FDate);

-- Roles of the operators, and the rights codes each role holds ('hy0001' …).
CREATE TABLE t_Role (
    FRoleId  TEXT COLLATE NOCASE PRIMARY KEY,
    FName    TEXT COLLATE NOCASE NOT NULL
);
CREATE TABLE t_RoleRight (
    FRoleId     TEXT COLLATE NOCASE NOT NULL,
    FRightCode  TEXT COLLATE NOCASE NOT NULL,
    PRIMARY KEY (FRoleId, FRightCode)
);

-- The rights codes this database knows: each was given once to the standard roles that start
-- with it, so a right added to the system later reaches the administrator of an older database
-- with the schema step that adds it, and a right taken from a role afterwards stays taken.
CREATE TABLE t_KnownRight (
    FRightCode  TEXT COLLATE NOCASE PRIMARY KEY
);

-- Operators: the login name, the name the logs and lists show, the salted password hash
-- (Argon2id in libsodium's encoded form), the role, and the failed logins since the last one that
-- succeeded with the time the user is locked until after too many.
CREATE TABLE t_User (
    FUserID        INTEGER PRIMARY KEY AUTOINCREMENT,
    FLogin         TEXT COLLATE NOCASE NOT NULL UNIQUE,
    FName          TEXT COLLATE NOCASE NOT NULL,
    FPasswordHash  TEXT COLLATE BINARY NOT NULL,
    FRoleId        TEXT COLLATE NOCASE NOT NULL,
    FFailedLogins  INTEGER NOT NULL DEFAULT 0,
    FLockedUntil   TEXT,
    FDisabled      INTEGER NOT NULL DEFAULT 0
);

-- The schema versions the database reached, one row each: the highest is the version it is at
-- (SchemaUpgrade.h). A database without this table was made before versions were recorded.
CREATE TABLE t_SchemaVersion (
    FVersion      INTEGER PRIMARY KEY,
    FDescription  TEXT COLLATE NOCASE,
    FDate         TEXT
);
